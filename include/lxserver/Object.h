// SPDX-License-Identifier: MIT
//
// Base of the server kit's COM objects: reference counting, QueryInterface, and the wrapper around each method that
// turns exceptions into results.
//
// Ownership  A new object has a reference count of 0; Make takes the first reference. Ref owns one reference.
// Threading  Free-threaded. Objects have no lock unless their class says so.
// Errors     No exception leaves a method. std::bad_alloc becomes E_OUTOFMEMORY, std::logic_error (an argument that the
//            model rejects) E_INVALIDARG, any other exception E_FAIL. The text of a logic_error or another
//            std::exception becomes the thread's error information.
#ifndef LXSERVER_OBJECT_H
#define LXSERVER_OBJECT_H

#include <lxserver/Language.h>

#include <LXConfigFactoryCache.h>
#include <lxcfc.hpp>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace lx {
using Text = std::basic_string<OLECHAR>;
using TextView = std::basic_string_view<OLECHAR>;

/// A view of a BSTR; null is an empty text.
inline TextView ViewOf(BSTR text) noexcept { return text != nullptr ? TextView(text, SysStringLen(text)) : TextView(); }

/// Allocates a BSTR, which the caller owns. Throws std::bad_alloc.
inline BSTR NewBstr(TextView text) {
    BSTR const made = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (made == nullptr) { throw std::bad_alloc(); }
    return made;
}

/// Converts ASCII to the encoding of the interfaces.
inline Text WidenAscii(std::string_view ascii) { return Text(ascii.begin(), ascii.end()); }

/// Converts UTF-8 to the encoding of the interfaces. Invalid input becomes U+FFFD.
inline Text FromUtf8(std::string_view utf8) { return lxcfc::Encode<Text>(utf8); }
inline std::string ToUtf8(TextView text) { return lxcfc::Encode<std::string>(text); }

/// Compares texts, ignoring the case of ASCII letters. Browser ids are compared this way.
inline bool EqualWithoutCase(TextView left, TextView right) noexcept {
    const auto lower = [](OLECHAR c) { return c >= 'A' && c <= 'Z' ? static_cast<OLECHAR>(c + ('a' - 'A')) : c; };
    if (left.size() != right.size()) { return false; }
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (lower(left[i]) != lower(right[i])) { return false; }
    }
    return true;
}

/// Owns one reference to an object.
template <class I> class Ref {
public:
    Ref() = default;
    Ref(I* object) noexcept : m_object(object) {
        if (object != nullptr) { object->AddRef(); }
    }
    Ref(const Ref& other) noexcept : Ref(other.m_object) {}
    Ref(Ref&& other) noexcept : m_object(other.Detach()) {}
    template <class J> Ref(const Ref<J>& other) noexcept : Ref(static_cast<I*>(other.Get())) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() {
        if (m_object != nullptr) { m_object->Release(); }
    }

    I* Get() const noexcept { return m_object; }
    I* operator->() const noexcept { return m_object; }
    I& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// Returns the pointer and gives up the ownership of its reference.
    I* Detach() noexcept { return std::exchange(m_object, nullptr); }

private:
    I* m_object = nullptr;
};

template <class T, class... Arguments> Ref<T> Make(Arguments&&... arguments) {
    return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

/// The number of live objects of the kit in this process. A server program may exit when it is 0.
inline std::atomic<long> liveObjects{0};

// Out parameters are cleared before a method does anything else.
template <class T> void ClearOut(T** out) noexcept { *out = nullptr; }
inline void ClearOut(VARIANT* out) noexcept { VariantInit(out); }
inline void ClearOut(LONG* out) noexcept { *out = 0; }
inline void ClearOut(ULONG* out) noexcept { *out = 0; }

/// Makes a text the thread's error information, which clients get with GetErrorInfo.
/// @param text  in UTF-8
/// @return      the result, for the method to return
inline HRESULT Fail(HRESULT result, std::string_view text) noexcept {
    try {
        lxcfc::Ptr<ICreateErrorInfo> creator;
        if (SUCCEEDED(CreateErrorInfo(creator.Put())) && SUCCEEDED(creator->SetDescription(FromUtf8(text).data()))) {
            SetErrorInfo(0, creator.As<IErrorInfo>().Get());
        }
    } catch (...) {} // out of memory: the result is returned without a text
    return result;
}

/// Runs the body of a method and turns exceptions into results.
/// @param body  HRESULT body()
template <class F> HRESULT Guarded(F&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; } catch (const std::logic_error& error) {
        return Fail(E_INVALIDARG, error.what());
    } catch (const std::exception& error) { return Fail(E_FAIL, error.what()); } catch (...) {
        return E_FAIL;
    }
}

/// Implements IUnknown for an object with the given interfaces.
template <class First, class... Others> class Object : public First, public Others... {
public:
    Object() noexcept { ++liveObjects; }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        *out = Face(iid);
        if (*out == nullptr) { return E_NOINTERFACE; }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) { delete this; }
        return left;
    }
    /// Adds a reference unless the count has already dropped to 0. For tables of weak references.
    bool AddRefIfAlive() noexcept {
        ULONG count = m_references.load(std::memory_order_relaxed);
        while (count != 0 && !m_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {}
        return count != 0;
    }

protected:
    virtual ~Object() { --liveObjects; } // its vtable slots follow those of the interfaces

    /// The interface pointer for an id; null if the object does not implement the interface. Adds no reference.
    virtual void* Face(REFIID iid) noexcept {
        if (iid == __uuidof(IUnknown) || iid == __uuidof(First)) { return static_cast<First*>(this); }
        void* face = nullptr;
        ((iid == __uuidof(Others) ? void(face = static_cast<Others*>(this)) : void()), ...);
        return face;
    }

    /// Implements a method: clears the out parameters, returns E_POINTER if one is null, and runs the body.
    /// @param method  the method's name; a class that hides this function can use it to trace calls
    /// @param body    HRESULT body()
    /// @param outs    the out parameters
    template <class F, class... Outs> HRESULT Call(std::string_view /*method*/, F&& body, Outs*... outs) noexcept {
        (void(outs != nullptr ? ClearOut(outs) : void()), ...);
        return ((outs != nullptr) && ... && true) ? Guarded(std::forward<F>(body)) : E_POINTER;
    }
    /// Implements a method that is not supported (E_NOTIMPL).
    template <class... Outs> HRESULT Refuse(std::string_view method, Outs*... outs) noexcept {
        return Call(
            method, [] { return E_NOTIMPL; }, outs...);
    }
    /// Implements a look-up that never finds anything (S_FALSE).
    template <class... Outs> HRESULT Nothing(std::string_view method, Outs*... outs) noexcept {
        return Call(
            method, [] { return S_FALSE; }, outs...);
    }

private:
    std::atomic<ULONG> m_references{0};
};
} // namespace lx

#endif

// SPDX-License-Identifier: MIT
//
// What the server kit's COM objects are made of: counting, interfaces, and the one way in which a method is entered and
// left.
//
// Ownership  An object starts without a reference; who makes it takes the first (Make). Ref owns one reference.
// Threading  Free-threaded. An object has no lock of its own unless it says so.
// Errors     No exception leaves a method: a lack of memory is E_OUTOFMEMORY, an argument that the model refuses
//            (std::logic_error) E_INVALIDARG, anything else E_FAIL.
#ifndef LXSERVER_OBJECT_H
#define LXSERVER_OBJECT_H

#include <lxserver/Language.h>

#include <LXConfigFactoryCache.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace lx {
using Text = std::basic_string<OLECHAR>;
using TextView = std::basic_string_view<OLECHAR>;

/// The text of a string; a null one is empty.
inline TextView ViewOf(BSTR text) noexcept { return text != nullptr ? TextView(text, SysStringLen(text)) : TextView(); }

/// A string of its own; raises std::bad_alloc.
inline BSTR NewBstr(TextView text) {
    BSTR const made = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (made == nullptr) { throw std::bad_alloc(); }
    return made;
}

/// An ASCII text in the interfaces' encoding.
inline Text WidenAscii(std::string_view ascii) { return Text(ascii.begin(), ascii.end()); }

/// Compares without regard to the case of ASCII letters, as browser ids are compared.
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
    /// Gives the reference away.
    I* Detach() noexcept { return std::exchange(m_object, nullptr); }

private:
    I* m_object = nullptr;
};

template <class T, class... Arguments> Ref<T> Make(Arguments&&... arguments) {
    return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

/// How many objects of the kit live in this process. A server's program may end when there are none.
inline std::atomic<long> liveObjects{0};

// Out arguments are emptied before anything else happens.
template <class T> void ClearOut(T** out) noexcept { *out = nullptr; }
inline void ClearOut(VARIANT* out) noexcept { VariantInit(out); }
inline void ClearOut(LONG* out) noexcept { *out = 0; }
inline void ClearOut(ULONG* out) noexcept { *out = 0; }

/// Does the work of a method; the place where exceptions become results.
/// @param body  HRESULT body()
template <class F> HRESULT Guarded(F&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; } catch (const std::logic_error&) {
        return E_INVALIDARG;
    } catch (...) { return E_FAIL; }
}

/// An object that answers for some interfaces and IUnknown.
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
    /// A reference, unless the last one is gone already; for who finds the object in a table that holds none.
    bool AddRefIfAlive() noexcept {
        ULONG count = m_references.load(std::memory_order_relaxed);
        while (count != 0 && !m_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {}
        return count != 0;
    }

protected:
    virtual ~Object() { --liveObjects; } // behind all slots of the interfaces

    /// The face for an interface id, null for one that the object does not have.
    virtual void* Face(REFIID iid) noexcept {
        if (iid == __uuidof(IUnknown) || iid == __uuidof(First)) { return static_cast<First*>(this); }
        void* face = nullptr;
        ((iid == __uuidof(Others) ? void(face = static_cast<Others*>(this)) : void()), ...);
        return face;
    }

    /// A method: empties the out arguments, refuses null ones with E_POINTER, and does its work.
    /// @param method  its name, for those who watch calls
    /// @param body    HRESULT body()
    template <class F, class... Outs> HRESULT Call(std::string_view /*method*/, F&& body, Outs*... outs) noexcept {
        (void(outs != nullptr ? ClearOut(outs) : void()), ...);
        return ((outs != nullptr) && ... && true) ? Guarded(std::forward<F>(body)) : E_POINTER;
    }
    /// A method that is not offered.
    template <class... Outs> HRESULT Refuse(std::string_view method, Outs*... outs) noexcept {
        return Call(
            method, [] { return E_NOTIMPL; }, outs...);
    }
    /// A look-up of which there is nothing.
    template <class... Outs> HRESULT Nothing(std::string_view method, Outs*... outs) noexcept {
        return Call(
            method, [] { return S_FALSE; }, outs...);
    }

private:
    std::atomic<ULONG> m_references{0};
};
} // namespace lx

#endif

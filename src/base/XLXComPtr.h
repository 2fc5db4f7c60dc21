// SPDX-License-Identifier: MIT
//
// XLXComPtr<T> owns one reference to a COM object. Assignment stores the new pointer before it releases the old object,
// because Release may call back. Not thread-safe.
#ifndef XLXCOMPTR_H
#define XLXCOMPTR_H

#include "LXConfigFactoryCache.h"

#include <utility>

/// The interface id of T.
template <class T> const IID& LXIid() noexcept { return __uuidof(T); }

template <class T> class XLXComPtr {
public:
    XLXComPtr() noexcept = default;
    XLXComPtr(T* object) noexcept : m_object(object) { AddRef(); }
    XLXComPtr(const XLXComPtr& other) noexcept : m_object(other.m_object) { AddRef(); }
    XLXComPtr(XLXComPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U> XLXComPtr(const XLXComPtr<U>& other) noexcept : m_object(other.Get()) { AddRef(); }
    template <class U> XLXComPtr(XLXComPtr<U>&& other) noexcept : m_object(other.Detach()) {}
    ~XLXComPtr() { Reset(); }

    XLXComPtr& operator=(XLXComPtr other) noexcept {
        Swap(other);
        return *this;
    }

    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    void Swap(XLXComPtr& other) noexcept { std::swap(m_object, other.m_object); }

    void Reset() noexcept {
        if (T* const old = std::exchange(m_object, nullptr); old != nullptr) { old->Release(); }
    }

    /// Takes ownership of a reference that the caller owns.
    void Attach(T* object) noexcept {
        Reset();
        m_object = object;
    }

    /// Passes ownership of the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    /// Releases the object and returns the address for a function that returns a reference.
    T** Put() noexcept {
        Reset();
        return &m_object;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

    /// Adds a reference and stores it in the caller's variable. The variable's old value is ignored.
    void CopyTo(T** out) const noexcept {
        AddRef();
        *out = m_object;
    }

    /// Queries for another interface; null when the object does not have it.
    template <class U> XLXComPtr<U> As() const noexcept {
        XLXComPtr<U> other;
        if (m_object != nullptr) { (void)LXQuery(*m_object, other); }
        return other;
    }

private:
    void AddRef() const noexcept {
        if (m_object != nullptr) { m_object->AddRef(); }
    }

    T* m_object = nullptr;
};

/// QueryInterface into a smart pointer. When the query fails, the result is null, whatever the object stored in it.
template <class T, class U> HRESULT LXQuery(U& object, XLXComPtr<T>& result) noexcept {
    const HRESULT answer = object.QueryInterface(LXIid<T>(), result.PutVoid());
    if (FAILED(answer)) { (void)result.Detach(); }
    return answer;
}

template <class T, class U> bool operator==(const XLXComPtr<T>& left, const XLXComPtr<U>& right) noexcept {
    return left.Get() == right.Get();
}

/// Sets the caller's out pointer, which may be null itself, to null. Call it before anything can fail.
template <class T> void LXEmptyOut(T** out) noexcept {
    if (out != nullptr) { *out = nullptr; }
}

/// For methods that are not implemented: nulls the out pointers and returns E_NOTIMPL.
template <class... T> HRESULT LXNotOffered(T**... outs) noexcept {
    (LXEmptyOut(outs), ...);
    return E_NOTIMPL;
}

/// A smart pointer that takes ownership of the caller's reference.
template <class T> XLXComPtr<T> LXAttach(T* object) noexcept {
    XLXComPtr<T> pointer;
    pointer.Attach(object);
    return pointer;
}

#endif

// SPDX-License-Identifier: MIT
//
// XLXComPtr<T> owns one reference to a COM object. A member is overwritten before its old object is released, since
// Release may call back. Not for sharing between threads.
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

    /// Takes over a reference that the caller owns.
    void Attach(T* object) noexcept {
        Reset();
        m_object = object;
    }

    /// Gives the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    /// Empties the pointer and gives its address to a function that returns a reference.
    T** Put() noexcept {
        Reset();
        return &m_object;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

    /// Stores a further reference in a caller's variable, which need not hold one.
    void CopyTo(T** out) const noexcept {
        AddRef();
        *out = m_object;
    }

    /// Asks the object for another interface; null when it has none.
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

/// Asks an object for an interface. A failing query leaves nothing to release, whatever it left in the pointer.
template <class T, class U> HRESULT LXQuery(U& object, XLXComPtr<T>& result) noexcept {
    const HRESULT answer = object.QueryInterface(LXIid<T>(), result.PutVoid());
    if (FAILED(answer)) { (void)result.Detach(); }
    return answer;
}

template <class T, class U> bool operator==(const XLXComPtr<T>& left, const XLXComPtr<U>& right) noexcept {
    return left.Get() == right.Get();
}

/// Empties a caller's variable, if there is one, before anything can fail.
template <class T> void LXEmptyOut(T** out) noexcept {
    if (out != nullptr) { *out = nullptr; }
}

/// The answer of a method that is not offered: what it would have handed out is null.
template <class... T> HRESULT LXNotOffered(T**... outs) noexcept {
    (LXEmptyOut(outs), ...);
    return E_NOTIMPL;
}

/// A pointer that takes over the caller's reference.
template <class T> XLXComPtr<T> LXAttach(T* object) noexcept {
    XLXComPtr<T> pointer;
    pointer.Attach(object);
    return pointer;
}

#endif

// SPDX-License-Identifier: MIT
//
// The one implementation of IUnknown.
//
// Ownership  Reference counted, starting at 0; the last Release deletes the object.
// Threading  Thread-safe.
// Errors     A null out pointer is E_POINTER. The class reports it with its own error location:
//            static HRESULT RefuseNullFace() noexcept
#ifndef XUNKNOWN_H
#define XUNKNOWN_H

#include "LXConfigFactoryCache.h"
#include "XModuleCount.h"

#include <type_traits>

/// QueryInterface for objects with a reference count of their own; XUnknown has the usual one.
/// @tparam Derived  the class itself; it may replace FindFace
/// @tparam Faces    the interfaces. The first answers for IUnknown and its own id, each further one for its own id.
///                  Other base classes are allowed in the list; they are never returned
template <class Derived, class... Faces> class XFaces : public Faces... {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (ppv == nullptr) { return Derived::RefuseNullFace(); }
        Derived& self = static_cast<Derived&>(*this);
        *ppv = self.FindFace(iid);
        if (*ppv == nullptr) { return E_NOINTERFACE; }
        self.AddRef();
        return S_OK;
    }

protected:
    XFaces() noexcept = default;
    ~XFaces() = default;

    /// The interface with this id, or null.
    void* FindFace(REFIID iid) noexcept {
        void* found = nullptr;
        const bool isUnknown = IsEqualIID(iid, IID_IUnknown);
        (void)((found = Answer<Faces>(iid, isUnknown), found != nullptr) || ...);
        return found;
    }

private:
    template <class Face> void* Answer(REFIID iid, bool isUnknown) noexcept {
        if constexpr (std::is_base_of_v<IUnknown, Face>) {
            return isUnknown || IsEqualIID(iid, __uuidof(Face)) ? static_cast<Face*>(this) : nullptr;
        }
        return nullptr;
    }
};

/// A reference-counted object that keeps the module loaded.
template <class Derived, class... Faces> class XUnknown : public XFaces<Derived, Faces...> {
public:
    XUnknown(const XUnknown&) = delete;
    XUnknown& operator=(const XUnknown&) = delete;

    ULONG STDMETHODCALLTYPE AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) { delete static_cast<Derived*>(this); }
        return left;
    }
    /// Adds a reference unless the count has reached 0.
    bool TryAddReference() noexcept {
        ULONG count = m_references.load(std::memory_order_relaxed);
        while (count != 0 && !m_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {}
        return count != 0;
    }

protected:
    XUnknown() noexcept = default;
    ~XUnknown() = default;

private:
    XLiveObject m_live;
    std::atomic<ULONG> m_references{0};
};

#endif

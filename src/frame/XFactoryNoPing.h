// SPDX-License-Identifier: MIT
//
// The class factory that the module returns and keeps.
//
// Ownership  The module holds the first reference until it is unloaded. While there are references from outside the
//            module, the factory locks the module. The module's own reference neither locks it nor counts as a live
//            object.
// Threading  Thread-safe.
#ifndef XFACTORYNOPING_H
#define XFACTORYNOPING_H

#include "XLXComPtr.h"
#include "XLXError.h"
#include "XUnknown.h"

#include <atomic>

namespace LXComClassFactory {
/// Creates objects of T, which is default constructible and whose reference count starts at 0.
template <class T> class XFactoryNoPing final : public XFaces<XFactoryNoPing<T>, IClassFactory> {
public:
    /// A new factory with one reference, the module's.
    static IClassFactory* Create() { return new XFactoryNoPing; }

    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppvObject"), At("QueryInterface"));
    }

    STDMETHODIMP_(ULONG) AddRef() override {
        const ULONG count = m_references.fetch_add(1, std::memory_order_relaxed) + 1;
        if (count == FirstOutside) { XModuleCount::Lock(); }
        return count;
    }

    STDMETHODIMP_(ULONG) Release() override {
        const ULONG count = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (count == FirstOutside - 1) {
            XModuleCount::Unlock();
        } else if (count == 0) {
            delete this;
        }
        return count;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        return XLXError::Guarded(At("CreateInstance"), [&]() -> HRESULT {
            LXCheckOut(out, OLESTR("ppvObject"), At("CreateInstance"));
            if (outer != nullptr) { return CLASS_E_NOAGGREGATION; }
            const XLXComPtr<T> object(new T); // destroyed here when QueryInterface fails
            return object->QueryInterface(iid, out);
        });
    }

    STDMETHODIMP LockServer(BOOL lock) override {
        lock ? XModuleCount::Lock() : XModuleCount::Unlock();
        return S_OK;
    }

private:
    static constexpr ULONG FirstOutside = 2;

    XFactoryNoPing() = default;
    ~XFactoryNoPing() = default;

    static LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) noexcept {
        return LXHere("XFactoryNoPing", "XFactoryNoPing", method, line);
    }

    std::atomic<ULONG> m_references{1};
};
} // namespace LXComClassFactory

#endif

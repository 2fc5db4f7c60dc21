// SPDX-License-Identifier: MIT
//
// The module object: which classes the module can create, and how it is registered.
//
// Ownership  Each entry of the object map keeps one class factory from the first request until Term.
// Threading  GetClassObject may be called from any thread. Init and Term run while the module is loaded and unloaded,
//            when nobody else is inside; they call nothing outside the module and take no lock.
// Errors     GetClassObject and the registration may raise; the exports are the boundary.
#ifndef XCOMMODULE_H
#define XCOMMODULE_H

#include "LXConfigFactoryCache.h"

#include <atomic>
#include <span>

/// A creatable class.
struct XObjectMapEntry
{
    const CLSID* clsid;
    IClassFactory* (*createFactory)();
    std::atomic<IClassFactory*> factory{nullptr};

    IClassFactory* Factory();
};

class XComModule
{
public:
    void Init(std::span<XObjectMapEntry> objectMap) noexcept { m_objectMap = objectMap; }
    void Term() noexcept;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);
    bool CanUnload() const noexcept;

    /// Writes the keys of the registration script and registers the type library. A failure is undone as far as
    /// possible, and its code is the answer.
    HRESULT RegisterServer();
    /// Removes both. A failure does not stop the rest; the first code is the answer.
    HRESULT UnregisterServer();

private:
    std::span<XObjectMapEntry> m_objectMap; // constant between Init and Term
};

#endif

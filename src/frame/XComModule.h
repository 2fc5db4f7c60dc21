// SPDX-License-Identifier: MIT
//
// The module object: which classes the module can create, and how it is registered.
//
// Ownership  Each entry of the object map keeps one class factory from the first request until Term.
// Threading  GetClassObject may be called from any thread. Term runs when nobody else is inside; it calls nothing
//            outside the module and takes no lock.
// Errors     GetClassObject and the registration may raise; the exports are the boundary.
#ifndef XCOMMODULE_H
#define XCOMMODULE_H

#include "LXConfigFactoryCache.h"

#include <atomic>
#include <span>

/// A creatable class.
struct XObjectMapEntry {
    const CLSID* clsid;
    IClassFactory* (*createFactory)();
    std::atomic<IClassFactory*> factory{nullptr};

    IClassFactory* Factory();
};

class XComModule {
public:
    constexpr explicit XComModule(std::span<XObjectMapEntry> objectMap) noexcept : m_objectMap(objectMap) {}
    /// Lets go of the class factories, when the module is unloaded.
    void Term() noexcept;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);
    bool CanUnload() const noexcept;

    /// Writes the keys of the registration script and registers the type library. A failure is undone as far as
    /// possible, and its code is the answer.
    HRESULT RegisterServer();
    /// Removes both. A failure does not stop the rest; the first code is the answer.
    HRESULT UnregisterServer();

private:
    std::span<XObjectMapEntry> m_objectMap; // constant until Term
};

/// The module itself. It has no destructor, so it exists before and after everything else in the module.
extern XComModule theModule;

#endif

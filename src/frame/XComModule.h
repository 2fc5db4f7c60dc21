// SPDX-License-Identifier: MIT
//
// The module object: the class that the module can create, and how it is registered.
//
// Ownership  It keeps one class factory from the first request until Term.
// Threading  GetClassObject may be called from any thread. Term runs when nobody else is inside; it calls nothing
//            outside the module and takes no lock.
// Errors     GetClassObject and the registration may raise; the exports are the boundary.
#ifndef XCOMMODULE_H
#define XCOMMODULE_H

#include "LXConfigFactoryCache.h"

#include <atomic>

class XComModule {
public:
    constexpr XComModule(const CLSID& clsid, IClassFactory* (*createFactory)()) noexcept
        : m_clsid(clsid), m_createFactory(createFactory) {}
    /// Lets go of the class factory, when the module is unloaded.
    void Term() noexcept;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);

    /// Writes the keys of the registration script and registers the type library. A failure is undone as far as
    /// possible, and its code is the answer.
    static HRESULT RegisterServer();
    /// Removes both. A failure does not stop the rest; the first code is the answer.
    static HRESULT UnregisterServer();

private:
    IClassFactory* Factory();

    const CLSID& m_clsid;
    IClassFactory* (*const m_createFactory)();
    std::atomic<IClassFactory*> m_factory{nullptr};
};

/// The module itself. It has no destructor, so it exists before and after everything else in the module.
extern XComModule theModule;

#endif

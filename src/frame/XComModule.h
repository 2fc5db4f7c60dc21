// SPDX-License-Identifier: MIT
//
// The module object: the class factory and the registration.
//
// Ownership  Keeps one class factory from the first request until Term.
// Threading  GetClassObject is thread-safe. Term runs when no other thread is in the module. It calls nothing outside
//            the module and takes no lock.
// Errors     GetClassObject and the registration may raise; the exports are the exception boundary.
#ifndef XCOMMODULE_H
#define XCOMMODULE_H

#include "LXConfigFactoryCache.h"

#include <atomic>

class XComModule {
public:
    constexpr XComModule(const CLSID& clsid, IClassFactory* (*createFactory)()) noexcept
        : m_clsid(clsid), m_createFactory(createFactory) {}
    /// Releases the class factory when the module is unloaded.
    void Term() noexcept;

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);

    /// Writes the keys of the registration script and registers the type library. On a failure it undoes what it can
    /// and returns the failure's code.
    static HRESULT RegisterServer();
    /// Removes both. Continues after a failure and returns the first code.
    static HRESULT UnregisterServer();

private:
    IClassFactory* Factory();

    const CLSID& m_clsid;
    IClassFactory* (*const m_createFactory)();
    std::atomic<IClassFactory*> m_factory{nullptr};
};

/// The module object. It has no destructor, so it is usable before and after all other statics of the module.
extern XComModule theModule;

#endif

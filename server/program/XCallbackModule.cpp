// SPDX-License-Identifier: MIT
//
// LXCfgCacheCallback.dll: the module with the separate callback object, for a client's process.
#include "XCfgCacheCallback.h"
#include <lxserver/Registration.h>

namespace {
lx::ClassRegistration Registration() {
    static const char here = 0;
    return {CLSID_XCfgCacheCallback,
            OLESTR(""),
            OLESTR("Separate callback object of the configuration cache"),
            OLESTR("InprocServer32"),
            lx::ModulePath(&here),
            true};
}
} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    *out = nullptr;
    return clsid == CLSID_XCfgCacheCallback ? LXCfgCacheCallbackFactory(iid, out) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return LXCfgCacheCallbacksInUse() == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
    try {
        return lx::RegisterClassKeys(Registration());
    } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
}

STDAPI DllUnregisterServer() {
    try {
        return lx::UnregisterClassKeys(Registration());
    } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
}

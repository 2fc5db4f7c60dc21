// SPDX-License-Identifier: MIT
//
// The module's four exports.
#include "XComModule.h"
#include "XFactoryNoPing.h"
#include "XLXError.h"
#include "lxconfigfactorycachemanager.h"

#ifdef _WIN32
#define LX_MODULE_FUNCTION STDAPI // the module definition file lists the exports
#else
#define LX_MODULE_FUNCTION extern "C" LX_EXPORT HRESULT STDAPICALLTYPE
#endif

namespace {
LXErrorLocation At(const char* function, int line = LX_CURRENT_LINE) noexcept {
    return LXHere("lxconfigfactorycache", nullptr, function, line);
}
} // namespace

constinit XComModule theModule(CLSID_LXConfigFactoryCache,
                               &LXComClassFactory::XFactoryNoPing<XLXConfigFactoryCacheManager>::Create);

LX_MODULE_FUNCTION DllCanUnloadNow() {
    return XLXError::Guarded(At("DllCanUnloadNow"), [] { return XModuleCount::IsIdle() ? S_OK : S_FALSE; });
}

LX_MODULE_FUNCTION DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    return XLXError::Guarded(At("DllGetClassObject"), [&] { return theModule.GetClassObject(rclsid, riid, ppv); });
}

LX_MODULE_FUNCTION DllRegisterServer() {
    return XLXError::Guarded(At("DllRegisterServer"), XComModule::RegisterServer);
}

LX_MODULE_FUNCTION DllUnregisterServer() {
    return XLXError::Guarded(At("DllUnregisterServer"), XComModule::UnregisterServer);
}

// SPDX-License-Identifier: MIT
//
// The module's four exports.
#include "XFactoryNoPing.h"
#include "XLXConfigFactoryCacheApp.h"
#include "XLXError.h"
#include "lxconfigfactorycachemanager.h"

#ifdef _WIN32
#define LX_MODULE_FUNCTION STDAPI // the module definition file lists the exports
#else
#define LX_MODULE_FUNCTION extern "C" LX_EXPORT HRESULT STDAPICALLTYPE
#endif

namespace
{
constinit XObjectMapEntry objectMap[] = {
    {&CLSID_LXConfigFactoryCache, &LXComClassFactory::XFactoryNoPing<XLXConfigFactoryCacheManager>::Create},
};

LXErrorLocation At(const char* function, int line = LX_CURRENT_LINE) noexcept
{
    return LXHere("lxconfigfactorycache", nullptr, function, line);
}
} // namespace

constinit XLXConfigFactoryCacheApp theApp;

void XLXConfigFactoryCacheApp::InitInstance() noexcept
{
    m_module.Init(objectMap);
}

LX_MODULE_FUNCTION DllCanUnloadNow()
{
    return XLXError::Guarded(At("DllCanUnloadNow"), [] { return theApp.Module().CanUnload() ? S_OK : S_FALSE; });
}

LX_MODULE_FUNCTION DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return XLXError::Guarded(At("DllGetClassObject"),
                             [&] { return theApp.Module().GetClassObject(rclsid, riid, ppv); });
}

LX_MODULE_FUNCTION DllRegisterServer()
{
    return XLXError::Guarded(At("DllRegisterServer"), [] { return theApp.Module().RegisterServer(); });
}

LX_MODULE_FUNCTION DllUnregisterServer()
{
    return XLXError::Guarded(At("DllUnregisterServer"), [] { return theApp.Module().UnregisterServer(); });
}

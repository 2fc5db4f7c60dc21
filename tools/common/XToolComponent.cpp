// SPDX-License-Identifier: MIT
#include "XToolComponent.h"

#include "XToolCom.h"

#include <objbase.h>

#ifdef _WIN32
namespace
{
void RegisterForThisProcess() {}
void UnregisterForThisProcess() {}
} // namespace
#else
namespace
{
/// Calls one of the two registration functions of the module beside this program.
void CallModule(const char* function)
{
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    const XLXTextView path(program, length);
    const XLXText module =
        XLXText(path.substr(0, path.find_last_of(u'/') + 1)) + OLESTR("LXConfigFactoryCache32.so");
    HMODULE const handle = LoadLibraryW(module.c_str());
    LXExpectThat(handle != nullptr, "LXConfigFactoryCache32.so beside this program cannot be loaded");
    using Registration = HRESULT(STDMETHODCALLTYPE*)();
    const auto call =
        reinterpret_cast<Registration>(reinterpret_cast<void*>(GetProcAddress(handle, function)));
    const HRESULT result = call != nullptr ? call() : E_POINTER;
    FreeLibrary(handle);
    LXExpect(result, function);
}

void RegisterForThisProcess()
{
    CallModule("DllRegisterServer");
}
void UnregisterForThisProcess()
{
    CallModule("DllUnregisterServer");
}
} // namespace
#endif

XToolComponent::XToolComponent()
{
    LXExpectThat(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM cannot be initialised");
    RegisterForThisProcess();
}

XToolComponent::~XToolComponent()
{
    try
    {
        UnregisterForThisProcess();
    }
    catch (const XToolFailure&)
    {
        // the registry ends with the process in any case
    }
    CoUninitialize();
}

XLXComPtr<ILXConfigFactoryCache> XToolComponent::Activate() const
{
    XLXComPtr<ILXConfigFactoryCache> cache;
    LXExpect(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER,
                              LXIid<ILXConfigFactoryCache>(), cache.PutVoid()),
             "CoCreateInstance(CLSID_LXConfigFactoryCache)");
    return cache;
}

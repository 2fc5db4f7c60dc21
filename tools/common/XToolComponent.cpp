// SPDX-License-Identifier: MIT
#include "XToolComponent.h"

#include "XToolCom.h"

#include <objbase.h>

#ifdef _WIN32
namespace {
void RegisterForThisProcess() {}
void UnregisterForThisProcess() {}
} // namespace
#else
namespace {
/// Calls one of the module's two registration functions. The module is expected in the directory of the platform's
/// library.
void CallModule(const char* function) {
    HMODULE const handle = LoadLibraryW(OLESTR("LXConfigFactoryCache32.so"));
    LXExpectThat(handle != nullptr, "LXConfigFactoryCache32.so cannot be loaded");
    using Registration = HRESULT(STDMETHODCALLTYPE*)();
    const auto call = reinterpret_cast<Registration>(reinterpret_cast<void*>(GetProcAddress(handle, function)));
    const HRESULT result = call != nullptr ? call() : E_POINTER;
    FreeLibrary(handle);
    LXExpect(result, function);
}

void RegisterForThisProcess() { CallModule("DllRegisterServer"); }
void UnregisterForThisProcess() { CallModule("DllUnregisterServer"); }
} // namespace
#endif

XToolComponent::XToolComponent() {
    LXExpectThat(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM cannot be initialised");
    RegisterForThisProcess();
}

XToolComponent::~XToolComponent() {
    try {
        UnregisterForThisProcess();
    } catch (const XToolFailure&) {
        // Ignored: the registry ends with the process
    }
    CoUninitialize();
}

XLXComPtr<ILXConfigFactoryCache> XToolComponent::Activate() const {
    XLXComPtr<ILXConfigFactoryCache> cache;
    LXExpect(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, LXIid<ILXConfigFactoryCache>(),
                              cache.PutVoid()),
             "CoCreateInstance(CLSID_LXConfigFactoryCache)");
    return cache;
}

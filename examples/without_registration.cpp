// SPDX-License-Identifier: MIT
//
// Activation without registration, on Windows: the program's manifest names the component's assembly, which is
// installed beside the program. COM finds the component, its type library and its proxies there, not in the registry.
#include "minimal_server.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

static void Check(HRESULT result, const char* what) {
    if (result != S_OK) { // S_FALSE: not found
        std::printf("%s answered 0x%08X\n", what, static_cast<unsigned>(result));
        std::exit(1);
    }
}

static void PrintAndFree(const char* what, BSTR text) {
    std::printf("%s: %.*ls\n", what, static_cast<int>(SysStringLen(text)), text);
    SysFreeString(text);
}

static void PrintUnit(const char* what, ILXConfigFactory* types) {
    ILXType* pump = nullptr;
    ILXAttribute* flow = nullptr;
    BSTR pumpName = SysAllocString(OLESTR("Pump")), flowName = SysAllocString(OLESTR("RatedFlow"));
    VARIANT unit = {};
    Check(types->GetType(pumpName, nullptr, &pump), "GetType");
    Check(pump->GetAttribute(flowName, &flow), "GetAttribute");
    Check(flow->GetProperty(4, &unit), "GetProperty");
    PrintAndFree(what, V_BSTR(&unit));
    SysFreeString(pumpName);
    SysFreeString(flowName);
    flow->Release();
    pump->Release();
}

static void UseComponent(ILXConfigFactory* server, ILXDataUpdate* update) {
    IDPFObject* cache = nullptr;
    ILXConfigFactory* types = nullptr;
    Check(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&cache)),
          "CoCreateInstance");
    VARIANT values[4] = {};
    V_VT(&values[0]) = V_VT(&values[2]) = VT_UNKNOWN;
    V_UNKNOWN(&values[0]) = server;
    V_UNKNOWN(&values[2]) = update;
    V_VT(&values[3]) = VT_BOOL;
    Check(cache->Initialize(4, values), "Initialize");
    Check(cache->QueryInterface(IID_PPV_ARGS(&types)), "QueryInterface");
    PrintUnit("component", types);
    Check(cache->Terminate(), "Terminate");
    types->Release();
    cache->Release();
}

static void UseTypeLibrary() {
    ITypeLib* library = nullptr;
    BSTR name = nullptr;
    Check(LoadRegTypeLib(LIBID_LXCONFIGFACTORYCACHELib, 1, 0, 0, &library), "LoadRegTypeLib");
    Check(library->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), "GetDocumentation");
    PrintAndFree("type library", name);
    library->Release();
}

/* Calls to an object in another apartment use a proxy, like calls to another process. */
static void UseProxy(IStream* marshalled, const ILXConfigFactory* server) {
    ILXConfigFactory* proxy = nullptr;
    Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx");
    Check(CoGetInterfaceAndReleaseStream(marshalled, IID_PPV_ARGS(&proxy)), "CoGetInterfaceAndReleaseStream");
    PrintUnit(proxy != server ? "proxies" : "no proxy", proxy);
    proxy->Release();
    CoUninitialize();
}

int main() {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    ILXConfigFactory* server = nullptr;
    ILXDataUpdate* update = nullptr;
    IStream* marshalled = nullptr;
    Check(CreateMinimalServer(&server, &update), "CreateMinimalServer");
    UseComponent(server, update);
    UseTypeLibrary();
    Check(CoMarshalInterThreadInterfaceInStream(IID_ILXConfigFactory, server, &marshalled), "marshalling");
    std::thread(UseProxy, marshalled, server).join();
    update->Release();
    server->Release();
    CoUninitialize();
}

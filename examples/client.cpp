// SPDX-License-Identifier: MIT
// A client in C++: puts the cache in front of a server and reads the unit of an attribute.
#include "minimal_server.h"

#include <cstdio>
#include <cstdlib>
#include <olectl.h>

static void Check(HRESULT result, const char* what) {
    if (result != S_OK) // S_FALSE: not found
    {
        std::printf("%s answered 0x%08X\n", what, static_cast<unsigned>(result));
        std::exit(1);
    }
}

int main() {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
#ifndef _WIN32
    Check(DllRegisterServer(), "DllRegisterServer"); // for this process only; on Windows use regsvr32
#endif
    ILXConfigFactory *server = nullptr, *types = nullptr;
    ILXDataUpdate* update = nullptr;
    IDPFObject* cache = nullptr;
    Check(CreateMinimalServer(&server, &update), "CreateMinimalServer");
    Check(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&cache)),
          "CoCreateInstance");

    VARIANT values[4] = {}; // value 1, the server's query object, is optional
    V_VT(&values[0]) = V_VT(&values[2]) = VT_UNKNOWN;
    V_UNKNOWN(&values[0]) = server;
    V_UNKNOWN(&values[2]) = update;
    V_VT(&values[3]) = VT_BOOL; // false: enable notifications
    Check(cache->Initialize(4, values), "Initialize");

    ILXType* pump = nullptr;
    ILXAttribute* flow = nullptr;
    BSTR pumpName = SysAllocString(OLESTR("Pump")), flowName = SysAllocString(OLESTR("RatedFlow"));
    VARIANT unit = {};
    Check(cache->QueryInterface(IID_PPV_ARGS(&types)), "QueryInterface"); // as with the server, from memory
    Check(types->GetType(pumpName, nullptr, &pump), "GetType");
    Check(pump->GetAttribute(flowName, &flow), "GetAttribute"); // includes inherited attributes
    Check(flow->GetProperty(4, &unit), "GetProperty");
    for (UINT i = 0; i < SysStringLen(V_BSTR(&unit)); ++i) {
        std::putchar(static_cast<char>(V_BSTR(&unit)[i]));
    }
    std::putchar('\n');

    Check(cache->Terminate(), "Terminate"); // required: the server's callback reference keeps the cache alive
    VariantClear(&unit);
    SysFreeString(pumpName);
    SysFreeString(flowName);
    flow->Release();
    pump->Release();
    types->Release();
    cache->Release();
    update->Release();
    server->Release();
    CoUninitialize();
}

// SPDX-License-Identifier: MIT
// Server mode: a server process puts the cache in front of its own objects, and lists the attributes of a type,
// including inherited ones. The host must serialise all calls, because server mode disables the locks of all caches in
// the process.
#include "minimal_server.h"

#include <cstdio>
#include <cstdlib>
#include <olectl.h>

static void Check(HRESULT result, const char* what) {
    if (result != S_OK) {
        std::printf("%s answered 0x%08X\n", what, static_cast<unsigned>(result));
        std::exit(1);
    }
}

static void PrintProperty(ILXAttribute* attribute, int index, const char* end) {
    VARIANT value = {};
    Check(attribute->GetProperty(index, &value), "GetProperty");
    for (UINT i = 0; i < SysStringLen(V_BSTR(&value)); ++i) {
        std::putchar(static_cast<char>(V_BSTR(&value)[i]));
    }
    std::fputs(end, stdout);
    VariantClear(&value);
}

static void PrintAttributes(ILXConfigFactory* types, const OLECHAR* typeName) {
    ILXType* type = nullptr;
    ILXAttributeEnum* all = nullptr;
    BSTR name = SysAllocString(typeName);
    Check(types->GetType(name, nullptr, &type), "GetType");
    Check(type->GetAttributeEnum(&all), "GetAttributeEnum"); // a snapshot: later changes do not affect it
    for (ILXAttribute* attribute = nullptr; all->GetSingleNext(&attribute) == S_OK;) {
        PrintProperty(attribute, 2, " in ");
        PrintProperty(attribute, 4, "\n");
        attribute->Release();
    }
    SysFreeString(name);
    all->Release();
    type->Release();
}

int main() {
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
#ifndef _WIN32
    Check(DllRegisterServer(), "DllRegisterServer");
#endif
    ILXConfigFactory *own = nullptr, *types = nullptr;
    ILXDataUpdate* update = nullptr;
    ILXConfigFactoryCache* cache = nullptr;
    IDPFObject* lifetime = nullptr;
    Check(CreateMinimalServer(&own, &update), "CreateMinimalServer");
    Check(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&cache)),
          "CoCreateInstance");
    Check(cache->Initialize(own, nullptr, update), "Initialize"); // no query object: no plan types
    Check(cache->QueryInterface(IID_PPV_ARGS(&types)), "QueryInterface");
    PrintAttributes(types, OLESTR("Pump"));

    Check(cache->QueryInterface(IID_PPV_ARGS(&lifetime)), "QueryInterface");
    Check(lifetime->Terminate(), "Terminate");
    lifetime->Release();
    types->Release();
    cache->Release();
    update->Release();
    own->Release();
    CoUninitialize();
}

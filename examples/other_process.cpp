// SPDX-License-Identifier: MIT
//
// A client of a server in another process, on Windows: gets the services of the sample server, puts the cache in front
// of them, reads the unit of an attribute, makes the server change it, and reads it again after the notification. The
// sample server and the proxies must be registered (register.cmd).
#include <LXProperties.h>
#include <LXSampleServer.h>

#include <cstdio>
#include <cstdlib>
#include <olectl.h>

static void Check(HRESULT result, const char* what) {
    if (result != S_OK) { // S_FALSE: not found
        std::printf("%s answered 0x%08X\n", what, static_cast<unsigned>(result));
        std::exit(1);
    }
}

static void PrintUnit(ILXAttribute* attribute) {
    VARIANT unit = {};
    Check(attribute->GetProperty(LXP_UNIT, &unit), "GetProperty");
    std::printf("%.*ls\n", static_cast<int>(SysStringLen(V_BSTR(&unit))), V_BSTR(&unit));
    VariantClear(&unit);
}

/* The sample server's Edit returns after the clients have answered the notification. Other servers may notify later. */
static void ChangeOnServer(ILXSampleServer* server) {
    BSTR outcome = nullptr;
    BSTR edit = SysAllocString(OLESTR(R"({"edit":"SetAttributeProperty","type":"Pump","name":"RatedHead",)")
                                   OLESTR(R"("index":4,"value":"ft"})"));
    Check(server->Edit(edit, &outcome), "Edit");
    SysFreeString(edit);
    SysFreeString(outcome);
}

static void Initialize(IDPFObject* cache, IUnknown* factory, IUnknown* query, IUnknown* update) {
    VARIANT values[6] = {};
    V_VT(&values[0]) = V_VT(&values[1]) = V_VT(&values[2]) = VT_UNKNOWN;
    V_UNKNOWN(&values[0]) = factory;
    V_UNKNOWN(&values[1]) = query;
    V_UNKNOWN(&values[2]) = update;
    V_VT(&values[3]) = V_VT(&values[4]) = VT_BOOL; // enable notifications; no separate callback object
    V_VT(&values[5]) = VT_I4;
    V_I4(&values[5]) = 15; // everything in bulk, because calls to another process are slow
    Check(cache->Initialize(6, values), "Initialize");
}

int main() {
    // The cache calls the server's proxies from any thread. This works only for proxies of the multithreaded apartment.
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    CLSID clsid = {};
    ILXSampleServer* server = nullptr;
    ILXConfigFactory *factory = nullptr, *types = nullptr;
    ILX_Query* query = nullptr;
    ILXDataUpdate* update = nullptr;
    IDPFObject* cache = nullptr;
    Check(CLSIDFromProgID(OLESTR("LXSampleServer.Server"), &clsid), "CLSIDFromProgID");
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(&server)), "starting the server");
    Check(server->GetServices(&factory, &query, &update), "GetServices");
    Check(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&cache)),
          "CoCreateInstance");
    Initialize(cache, factory, query, update);

    ILXType* pump = nullptr;
    ILXAttribute* head = nullptr;
    BSTR pumpName = SysAllocString(OLESTR("PumpCentrifugal")), headName = SysAllocString(OLESTR("RatedHead"));
    Check(cache->QueryInterface(IID_PPV_ARGS(&types)), "QueryInterface");
    Check(types->GetType(pumpName, nullptr, &pump), "GetType");
    Check(pump->GetAttribute(headName, &head), "GetAttribute");
    PrintUnit(head);
    ChangeOnServer(server);
    PrintUnit(head);

    Check(cache->Terminate(), "Terminate");
    Check(server->Stop(), "Stop"); // otherwise it ends a few seconds after its last client has gone
    SysFreeString(pumpName);
    SysFreeString(headName);
    head->Release();
    pump->Release();
    types->Release();
    cache->Release();
    update->Release();
    query->Release();
    factory->Release();
    server->Release();
    CoUninitialize();
}

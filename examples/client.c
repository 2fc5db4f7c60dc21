/* SPDX-License-Identifier: MIT
 * A client in C: reads the unit of an attribute, changes it on the server, and reads it again. At the end it makes an
 * invalid call and prints the component's error text.
 */
#define COBJMACROS
#include "minimal_server.h"

#include <olectl.h>
#include <stdio.h>
#include <stdlib.h>

static void Check(HRESULT result, const char* what) {
    if (result != S_OK) {
        printf("%s answered 0x%08X\n", what, (unsigned)result);
        exit(1);
    }
}

static void PrintText(BSTR text) {
    for (UINT i = 0; i < SysStringLen(text); ++i) {
        putchar((char)text[i]);
    }
    putchar('\n');
}

static void PrintUnit(ILXAttribute* attribute) {
    VARIANT unit;
    VariantInit(&unit);
    Check(ILXAttribute_GetProperty(attribute, 4, &unit), "GetProperty");
    PrintText(V_BSTR(&unit));
    VariantClear(&unit);
}

/* Works on the cache and on the server: both are config factories. */
static ILXAttribute* FindRatedFlow(ILXConfigFactory* factory) {
    ILXType* pump = NULL;
    ILXAttribute* flow = NULL;
    BSTR pumpName = SysAllocString(OLESTR("Pump")), flowName = SysAllocString(OLESTR("RatedFlow"));
    Check(ILXConfigFactory_GetType(factory, pumpName, NULL, &pump), "GetType");
    Check(ILXType_GetAttribute(pump, flowName, &flow), "GetAttribute");
    SysFreeString(pumpName);
    SysFreeString(flowName);
    ILXType_Release(pump);
    return flow;
}

static void ChangeOnServer(ILXConfigFactory* server) {
    ILXAttribute* flow = FindRatedFlow(server);
    VARIANT unit;
    VariantInit(&unit);
    V_VT(&unit) = VT_BSTR;
    V_BSTR(&unit) = SysAllocString(OLESTR("l/s"));
    Check(ILXAttribute_SetProperty(flow, 4, unit), "SetProperty"); /* the server notifies the cache */
    VariantClear(&unit);
    ILXAttribute_Release(flow);
}

static void PrintErrorOf(ILXAttribute* attribute) {
    VARIANT value;
    IErrorInfo* error = NULL;
    BSTR text = NULL;
    VariantInit(&value);
    if (FAILED(ILXAttribute_GetProperty(attribute, 1000, &value)) && GetErrorInfo(0, &error) == S_OK) {
        Check(error->lpVtbl->GetDescription(error, &text), "GetDescription");
        PrintText(text);
        SysFreeString(text);
        error->lpVtbl->Release(error);
    }
}

static void Use(IDPFObject* cache, ILXConfigFactory* server) {
    ILXConfigFactory* types = NULL;
    ILXAttribute* flow = NULL;
    Check(IDPFObject_QueryInterface(cache, &IID_ILXConfigFactory, (void**)&types), "QueryInterface");
    flow = FindRatedFlow(types);
    PrintUnit(flow);
    ChangeOnServer(server);
    PrintUnit(flow); /* the same object now returns the new value */
    PrintErrorOf(flow);
    ILXAttribute_Release(flow);
    ILXConfigFactory_Release(types);
}

int main(void) {
    ILXConfigFactory* server = NULL;
    ILXDataUpdate* update = NULL;
    IDPFObject* cache = NULL;
    VARIANT values[4];
    for (int i = 0; i < 4; ++i) {
        VariantInit(&values[i]);
    }
    Check(CoInitializeEx(NULL, COINIT_MULTITHREADED), "CoInitializeEx");
#ifndef _WIN32
    Check(DllRegisterServer(), "DllRegisterServer");
#endif
    Check(CreateMinimalServer(&server, &update), "CreateMinimalServer");
    V_VT(&values[0]) = VT_UNKNOWN;
    V_UNKNOWN(&values[0]) = (IUnknown*)server;
    V_VT(&values[2]) = VT_UNKNOWN;
    V_UNKNOWN(&values[2]) = (IUnknown*)update;
    V_VT(&values[3]) = VT_BOOL;
    Check(CoCreateInstance(&CLSID_LXConfigFactoryCache, NULL, CLSCTX_INPROC_SERVER, &IID_IDPFObject, (void**)&cache),
          "CoCreateInstance");
    Check(IDPFObject_Initialize(cache, 4, values), "Initialize");
    Use(cache, server);
    Check(IDPFObject_Terminate(cache), "Terminate");
    IDPFObject_Release(cache);
    ILXDataUpdate_Release(update);
    ILXConfigFactory_Release(server);
    CoUninitialize();
    return 0;
}

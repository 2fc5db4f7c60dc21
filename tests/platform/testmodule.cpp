// SPDX-License-Identifier: MIT
//
// A module with one class. Its class object and its instances are one static object. LockServer returns the number of
// instances requested since the module was loaded, so that a caller can detect that it was loaded anew.
#include "testmodule.h"

#include <atomic>

namespace {
std::atomic<LONG> g_references{0};
std::atomic<LONG> g_instances{0};

struct Class final : IClassFactory {
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory);
        *ppvObject = known ? this : nullptr;
        if (known) { AddRef(); }
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++g_references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--g_references); }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID riid, void** ppvObject) override {
        ++g_instances;
        return QueryInterface(riid, ppvObject);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return static_cast<HRESULT>(g_instances); }
};

Class g_class;
} // namespace

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    *ppv = nullptr;
    return IsEqualCLSID(rclsid, g_testClass) ? g_class.QueryInterface(riid, ppv) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return g_references == 0 ? S_OK : S_FALSE; }

// SPDX-License-Identifier: MIT
//
// The component's module file, loaded explicitly.
#ifndef MODULEFILE_H
#define MODULEFILE_H

#include "XLXComPtr.h"
#include "XLXError.h"

/// The path of the module in this program's folder.
XLXText ModulePath();

/// As the platform's registration program does.
HRESULT RegisterModule();
HRESULT UnregisterModule();

/// Whether the module is still loaded.
bool ModuleIsLoaded();

class ModuleFile {
public:
    ModuleFile();
    ~ModuleFile();
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;

    HRESULT CanUnloadNow() const { return Function<HRESULT(STDMETHODCALLTYPE*)()>("DllCanUnloadNow")(); }
    HRESULT RegisterServer() const { return Function<HRESULT(STDMETHODCALLTYPE*)()>("DllRegisterServer")(); }
    HRESULT UnregisterServer() const { return Function<HRESULT(STDMETHODCALLTYPE*)()>("DllUnregisterServer")(); }
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const {
        using Signature = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, void**);
        return Function<Signature>("DllGetClassObject")(clsid, iid, out);
    }
    XLXComPtr<IClassFactory> Factory() const {
        XLXComPtr<IClassFactory> factory;
        GetClassObject(CLSID_LXConfigFactoryCache, IID_IClassFactory, factory.PutVoid());
        return factory;
    }

private:
    void* Address(const char* name) const;

    template <class Signature> Signature Function(const char* name) const {
        return reinterpret_cast<Signature>(Address(name));
    }

    HMODULE m_handle;
};

#endif

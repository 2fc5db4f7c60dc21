// SPDX-License-Identifier: MIT
//
// IUnknown and IClassFactory.
#ifndef LXPLATFORM_UNKNWN_H
#define LXPLATFORM_UNKNWN_H

#include <rpcndr.h>
#include <winerror.h>

EXTERN_C const IID IID_IUnknown;
EXTERN_C const IID IID_IClassFactory;

#if defined(__cplusplus) && !defined(CINTERFACE)
MIDL_INTERFACE("00000000-0000-0000-c000-000000000046")
IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

    template <typename Q> HRESULT STDMETHODCALLTYPE QueryInterface(Q * *object) {
        return QueryInterface(LXUuidOf<Q>::value, reinterpret_cast<void**>(object));
    }
};
MIDL_INTERFACE("00000001-0000-0000-c000-000000000046")
IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown * pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};
__CRT_UUID_DECL(IUnknown, 0, 0, 0, 0xc0, 0, 0, 0, 0, 0, 0, 0x46)
__CRT_UUID_DECL(IClassFactory, 1, 0, 0, 0xc0, 0, 0, 0, 0, 0, 0, 0x46)
#else
typedef struct IUnknown IUnknown;
typedef struct IUnknownVtbl {
    HRESULT(STDMETHODCALLTYPE* QueryInterface)(IUnknown* This, REFIID riid, void** ppvObject);
    ULONG(STDMETHODCALLTYPE* AddRef)(IUnknown* This);
    ULONG(STDMETHODCALLTYPE* Release)(IUnknown* This);
} IUnknownVtbl;
struct IUnknown {
    CONST_VTBL IUnknownVtbl* lpVtbl;
};
typedef struct IClassFactory IClassFactory;
typedef struct IClassFactoryVtbl {
    HRESULT(STDMETHODCALLTYPE* QueryInterface)(IClassFactory* This, REFIID riid, void** ppvObject);
    ULONG(STDMETHODCALLTYPE* AddRef)(IClassFactory* This);
    ULONG(STDMETHODCALLTYPE* Release)(IClassFactory* This);
    HRESULT(STDMETHODCALLTYPE* CreateInstance)
    (IClassFactory* This, IUnknown* pUnkOuter, REFIID riid, void** ppvObject);
    HRESULT(STDMETHODCALLTYPE* LockServer)(IClassFactory* This, BOOL fLock);
} IClassFactoryVtbl;
struct IClassFactory {
    CONST_VTBL IClassFactoryVtbl* lpVtbl;
};
#ifdef COBJMACROS
#define IUnknown_QueryInterface(This, riid, ppvObject) (This)->lpVtbl->QueryInterface(This, riid, ppvObject)
#define IUnknown_AddRef(This) (This)->lpVtbl->AddRef(This)
#define IUnknown_Release(This) (This)->lpVtbl->Release(This)
#define IClassFactory_CreateInstance(This, pUnkOuter, riid, ppvObject)                                                 \
    (This)->lpVtbl->CreateInstance(This, pUnkOuter, riid, ppvObject)
#define IClassFactory_LockServer(This, fLock) (This)->lpVtbl->LockServer(This, fLock)
#define IClassFactory_Release(This) (This)->lpVtbl->Release(This)
#endif
#endif
typedef IUnknown* LPUNKNOWN;
typedef IClassFactory* LPCLASSFACTORY;

#ifdef __cplusplus
template <typename T> constexpr const IID& LXUuidOfTarget(T**) { return LXUuidOf<T>::value; }
#define IID_PPV_ARGS(target) LXUuidOfTarget(target), reinterpret_cast<void**>(target)
#endif

#endif

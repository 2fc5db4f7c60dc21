// SPDX-License-Identifier: MIT
//
// Class objects, their modules, task memory, and GUIDs as text.
//
// Threading  Thread-safe. Apartments are counted but have no effect: every call is a direct call on the caller's
//            thread.
#ifndef LXPLATFORM_OBJBASE_H
#define LXPLATFORM_OBJBASE_H

#include <oaidl.h>

typedef enum tagCOINIT {
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
} COINIT;

typedef enum tagREGCLS { REGCLS_SINGLEUSE = 0, REGCLS_MULTIPLEUSE = 1, REGCLS_MULTI_SEPARATE = 2 } REGCLS;

typedef HRESULT(STDAPICALLTYPE* LPFNGETCLASSOBJECT)(REFCLSID rclsid, REFIID riid, void** ppv);
typedef HRESULT(STDAPICALLTYPE* LPFNCANUNLOADNOW)(void);

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv);
STDAPI DllCanUnloadNow(void);

EXTERN_C HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
/* The last call unloads the modules whose DllCanUnloadNow returns S_OK. */
EXTERN_C void WINAPI CoUninitialize(void);

EXTERN_C HRESULT WINAPI CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD flags,
                                              DWORD* lpdwRegister);
EXTERN_C HRESULT WINAPI CoRevokeClassObject(DWORD dwRegister);
EXTERN_C HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid,
                                         LPVOID* ppv);

EXTERN_C LPVOID WINAPI CoTaskMemAlloc(SIZE_T cb);
EXTERN_C void WINAPI CoTaskMemFree(LPVOID pv);

EXTERN_C int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
EXTERN_C HRESULT WINAPI CLSIDFromProgID(LPCOLESTR lpszProgID, CLSID* pclsid);
/* Accepts only a GUID in text form, not a ProgID. */
EXTERN_C HRESULT WINAPI CLSIDFromString(LPCOLESTR lpsz, CLSID* pclsid);

#endif

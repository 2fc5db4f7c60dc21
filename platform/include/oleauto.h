// SPDX-License-Identifier: MIT
//
// Functions over BSTR, VARIANT, SAFEARRAY and the calling thread's error information.
//
// Ownership  As on Windows: the caller owns what a function returns.
// Threading  Every function may be called from any thread. A value must not be used by others while one thread writes
//            it. Error information is per thread.
// Errors     Result codes only; no exceptions.
#ifndef LXPLATFORM_OLEAUTO_H
#define LXPLATFORM_OLEAUTO_H

#include <oaidl.h>

#define V_VT(X) ((X)->vt)
#define V_UNION(X, Y) ((X)->Y)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_I1(X) V_UNION(X, cVal)
#define V_UI1(X) V_UNION(X, bVal)
#define V_I2(X) V_UNION(X, iVal)
#define V_UI2(X) V_UNION(X, uiVal)
#define V_I4(X) V_UNION(X, lVal)
#define V_UI4(X) V_UNION(X, ulVal)
#define V_I8(X) V_UNION(X, llVal)
#define V_UI8(X) V_UNION(X, ullVal)
#define V_INT(X) V_UNION(X, intVal)
#define V_UINT(X) V_UNION(X, uintVal)
#define V_R4(X) V_UNION(X, fltVal)
#define V_R8(X) V_UNION(X, dblVal)
#define V_BOOL(X) V_UNION(X, boolVal)
#define V_ERROR(X) V_UNION(X, scode)
#define V_BSTR(X) V_UNION(X, bstrVal)
#define V_UNKNOWN(X) V_UNION(X, punkVal)
#define V_DISPATCH(X) V_UNION(X, pdispVal)
#define V_ARRAY(X) V_UNION(X, parray)
#define V_BYREF(X) V_UNION(X, byref)

EXTERN_C BSTR WINAPI SysAllocString(const OLECHAR* psz);
EXTERN_C BSTR WINAPI SysAllocStringLen(const OLECHAR* pch, UINT cch);
EXTERN_C BSTR WINAPI SysAllocStringByteLen(LPCSTR psz, UINT cb);
EXTERN_C void WINAPI SysFreeString(BSTR bstr);
EXTERN_C UINT WINAPI SysStringLen(BSTR bstr);
EXTERN_C UINT WINAPI SysStringByteLen(BSTR bstr);

EXTERN_C void WINAPI VariantInit(VARIANT* pvar);
EXTERN_C HRESULT WINAPI VariantClear(VARIANT* pvar);
EXTERN_C HRESULT WINAPI VariantCopy(VARIANT* pvarDest, VARIANT* pvarSrc);
EXTERN_C HRESULT WINAPI VariantCopyInd(VARIANT* pvarDest, VARIANT* pvarSrc);
EXTERN_C HRESULT WINAPI VariantChangeType(VARIANT* pvarDest, VARIANT* pvarSrc, USHORT wFlags, VARTYPE vt);

EXTERN_C SAFEARRAY* WINAPI SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
EXTERN_C SAFEARRAY* WINAPI SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
EXTERN_C HRESULT WINAPI SafeArrayAllocDescriptorEx(VARTYPE vt, UINT cDims, SAFEARRAY** ppsaOut);
EXTERN_C HRESULT WINAPI SafeArrayDestroy(SAFEARRAY* psa);
EXTERN_C HRESULT WINAPI SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);
EXTERN_C UINT WINAPI SafeArrayGetDim(SAFEARRAY* psa);
EXTERN_C UINT WINAPI SafeArrayGetElemsize(SAFEARRAY* psa);
EXTERN_C HRESULT WINAPI SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
EXTERN_C HRESULT WINAPI SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
EXTERN_C HRESULT WINAPI SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);
EXTERN_C HRESULT WINAPI SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
EXTERN_C HRESULT WINAPI SafeArrayUnaccessData(SAFEARRAY* psa);
EXTERN_C HRESULT WINAPI SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
EXTERN_C HRESULT WINAPI SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);

EXTERN_C HRESULT WINAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
EXTERN_C HRESULT WINAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);
EXTERN_C HRESULT WINAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo);

#endif

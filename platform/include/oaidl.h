// SPDX-License-Identifier: MIT
//
// VARIANT, SAFEARRAY and the interfaces of error information.
#ifndef LXPLATFORM_OAIDL_H
#define LXPLATFORM_OAIDL_H

#include <wtypes.h>

typedef interface IDispatch IDispatch;
typedef interface IRecordInfo IRecordInfo;

typedef struct tagSAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
} SAFEARRAYBOUND, *LPSAFEARRAYBOUND;

/* The bounds are in reverse order: the last dimension comes first. */
typedef struct tagSAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY, *LPSAFEARRAY;

#define FADF_AUTO 0x1
#define FADF_STATIC 0x2
#define FADF_EMBEDDED 0x4
#define FADF_FIXEDSIZE 0x10
#define FADF_RECORD 0x20
#define FADF_HAVEIID 0x40
#define FADF_HAVEVARTYPE 0x80
#define FADF_BSTR 0x100
#define FADF_UNKNOWN 0x200
#define FADF_DISPATCH 0x400
#define FADF_VARIANT 0x800

typedef struct tagVARIANT VARIANT;
typedef VARIANT* LPVARIANT;
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANTARG;

typedef struct tagVARIANTRECORD {
    PVOID pvRecord;
    IRecordInfo* pRecInfo;
} VARIANTRECORD;

struct tagVARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        ULONG* pulVal;
        VARIANTRECORD brecVal;
    };
};

EXTERN_C const IID IID_IDispatch;
EXTERN_C const IID IID_IErrorInfo;
EXTERN_C const IID IID_ICreateErrorInfo;
EXTERN_C const IID IID_ISupportErrorInfo;

#if defined(__cplusplus) && !defined(CINTERFACE)
MIDL_INTERFACE("1cf2b120-547d-101b-8e65-08002b2bd119")
IErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID * pGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR * pBstrSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR * pBstrDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR * pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD * pdwHelpContext) = 0;
};
MIDL_INTERFACE("22f03340-547d-101b-8e65-08002b2bd119")
ICreateErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;
};
MIDL_INTERFACE("df0b3d60-548f-101b-8e65-08002b2bd119")
ISupportErrorInfo : public IUnknown { virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0; };
__CRT_UUID_DECL(IErrorInfo, 0x1cf2b120, 0x547d, 0x101b, 0x8e, 0x65, 8, 0, 0x2b, 0x2b, 0xd1, 0x19)
__CRT_UUID_DECL(ICreateErrorInfo, 0x22f03340, 0x547d, 0x101b, 0x8e, 0x65, 8, 0, 0x2b, 0x2b, 0xd1, 0x19)
__CRT_UUID_DECL(ISupportErrorInfo, 0xdf0b3d60, 0x548f, 0x101b, 0x8e, 0x65, 8, 0, 0x2b, 0x2b, 0xd1, 0x19)
#else
typedef struct IErrorInfo IErrorInfo;
typedef struct IErrorInfoVtbl {
    HRESULT(STDMETHODCALLTYPE* QueryInterface)(IErrorInfo* This, REFIID riid, void** ppvObject);
    ULONG(STDMETHODCALLTYPE* AddRef)(IErrorInfo* This);
    ULONG(STDMETHODCALLTYPE* Release)(IErrorInfo* This);
    HRESULT(STDMETHODCALLTYPE* GetGUID)(IErrorInfo* This, GUID* pGUID);
    HRESULT(STDMETHODCALLTYPE* GetSource)(IErrorInfo* This, BSTR* pBstrSource);
    HRESULT(STDMETHODCALLTYPE* GetDescription)(IErrorInfo* This, BSTR* pBstrDescription);
    HRESULT(STDMETHODCALLTYPE* GetHelpFile)(IErrorInfo* This, BSTR* pBstrHelpFile);
    HRESULT(STDMETHODCALLTYPE* GetHelpContext)(IErrorInfo* This, DWORD* pdwHelpContext);
} IErrorInfoVtbl;
struct IErrorInfo {
    CONST_VTBL IErrorInfoVtbl* lpVtbl;
};
typedef interface ICreateErrorInfo ICreateErrorInfo;
#endif

#endif

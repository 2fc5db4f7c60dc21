// SPDX-License-Identifier: MIT
//
// Initialising, copying and clearing a VARIANT.
#include "safearray_elements.h"

#include <cstring>

namespace {
constexpr VARTYPE g_modifiers = VT_ARRAY | VT_BYREF;

/// Whether a VARIANT can have this type.
bool IsValid(VARTYPE vt) {
    const VARTYPE base = vt & VT_TYPEMASK;
    if ((vt & ~(VT_TYPEMASK | g_modifiers)) != 0 || base > VT_UINT || base == 15) { return false; }
    return (vt & g_modifiers) == 0 || (base != VT_EMPTY && base != VT_NULL);
}

bool IsObject(VARTYPE vt) { return vt == VT_UNKNOWN || vt == VT_DISPATCH; }

/// Replaces the copied bits in value by copies of what they refer to. On failure value is empty.
HRESULT Own(VARIANT& value) {
    HRESULT result = S_OK;
    if ((value.vt & g_modifiers) == VT_ARRAY) {
        result = SafeArrayCopy(value.parray, &value.parray);
    } else if (value.vt == VT_BSTR) {
        // A null string becomes an empty string.
        value.bstrVal = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(value.bstrVal), SysStringByteLen(value.bstrVal));
        result = value.bstrVal == nullptr ? E_OUTOFMEMORY : S_OK;
    } else if (IsObject(value.vt) && value.punkVal != nullptr) {
        value.punkVal->AddRef();
    }
    if (FAILED(result)) { VariantInit(&value); }
    return result;
}
} // namespace

void VariantInit(VARIANT* pvar) {
    pvar->vt = VT_EMPTY;
    pvar->wReserved1 = 0;
    pvar->wReserved2 = 0;
    pvar->wReserved3 = 0;
}

HRESULT VariantClear(VARIANT* pvar) {
    if (pvar == nullptr) { return E_INVALIDARG; }
    if (!IsValid(pvar->vt)) { return DISP_E_BADVARTYPE; }
    const VARIANT old = *pvar;
    if ((old.vt & g_modifiers) == VT_ARRAY) {
        const HRESULT result = SafeArrayDestroy(old.parray);
        if (FAILED(result)) { return result; }
    }
    VariantInit(pvar); // before foreign code runs, which may access this value
    if (old.vt == VT_BSTR) {
        SysFreeString(old.bstrVal);
    } else if (IsObject(old.vt) && old.punkVal != nullptr) {
        old.punkVal->Release();
    }
    return S_OK;
}

HRESULT VariantCopy(VARIANT* pvarDest, VARIANT* pvarSrc) {
    if (pvarDest == nullptr || pvarSrc == nullptr) { return E_INVALIDARG; }
    if (!IsValid(pvarSrc->vt)) { return DISP_E_BADVARTYPE; }
    if (pvarDest == pvarSrc) { return S_OK; }
    const HRESULT cleared = VariantClear(pvarDest);
    if (FAILED(cleared)) { return cleared; }
    *pvarDest = *pvarSrc;
    return Own(*pvarDest);
}

HRESULT VariantCopyInd(VARIANT* pvarDest, VARIANT* pvarSrc) {
    if (pvarDest == nullptr || pvarSrc == nullptr) { return E_INVALIDARG; }
    if ((pvarSrc->vt & VT_BYREF) == 0) { return VariantCopy(pvarDest, pvarSrc); }
    if (!IsValid(pvarSrc->vt) || pvarSrc->byref == nullptr) { return E_INVALIDARG; }
    const VARTYPE vt = static_cast<VARTYPE>(pvarSrc->vt & ~VT_BYREF);
    if (vt == VT_VARIANT) {
        // The referenced VARIANT may be a reference to a value, but not to another VARIANT.
        const bool tooDeep = pvarSrc->pvarVal->vt == (VT_BYREF | VT_VARIANT);
        return tooDeep ? E_INVALIDARG : VariantCopyInd(pvarDest, pvarSrc->pvarVal);
    }
    const ULONG size = (vt & VT_ARRAY) != 0 ? ULONG{sizeof(SAFEARRAY*)} : LXPlatformArray::SizeOf(vt);
    if (size == 0) { return DISP_E_BADVARTYPE; }
    VARIANT value = {};
    value.vt = vt;
    std::memcpy(&value.llVal, pvarSrc->byref, size);
    HRESULT result = Own(value);
    if (SUCCEEDED(result)) {
        result = VariantClear(pvarDest);
        SUCCEEDED(result) ? static_cast<void>(*pvarDest = value) : static_cast<void>(VariantClear(&value));
    }
    return result;
}

// SPDX-License-Identifier: MIT
//
// Access to array elements and bounds.
#include "safearray_elements.h"

#include <cstring>

using namespace LXPlatformArray;

Kind LXPlatformArray::KindOf(const SAFEARRAY& array) {
    return (array.fFeatures & FADF_BSTR) != 0                        ? Kind::text
           : (array.fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) != 0 ? Kind::object
           : (array.fFeatures & FADF_VARIANT) != 0                   ? Kind::variant
                                                                     : Kind::plain;
}

HRESULT LXPlatformArray::CopyElement(const SAFEARRAY& array, void* to, void* from) {
    switch (KindOf(array)) {
    case Kind::text: {
        const BSTR text = *static_cast<BSTR*>(from);
        const BSTR copy =
            text == nullptr ? nullptr : SysAllocStringByteLen(reinterpret_cast<LPCSTR>(text), SysStringByteLen(text));
        *static_cast<BSTR*>(to) = copy;
        return text != nullptr && copy == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    case Kind::object:
        *static_cast<IUnknown**>(to) = AsObject(from);
        if (AsObject(from) != nullptr) { AsObject(from)->AddRef(); }
        return S_OK;
    case Kind::variant:
        VariantInit(static_cast<VARIANT*>(to));
        return VariantCopy(static_cast<VARIANT*>(to), static_cast<VARIANT*>(from));
    default: std::memcpy(to, from, array.cbElements); return S_OK;
    }
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cDims; }
UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cbElements; }

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
    if (psa == nullptr || plLbound == nullptr) { return E_INVALIDARG; }
    if (nDim == 0 || nDim > psa->cDims) { return DISP_E_BADINDEX; }
    *plLbound = psa->rgsabound[psa->cDims - nDim].lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
    const HRESULT result = SafeArrayGetLBound(psa, nDim, plUbound);
    if (SUCCEEDED(result)) {
        const ULONG elements = psa->rgsabound[psa->cDims - nDim].cElements;
        *plUbound = static_cast<LONG>(static_cast<ULONG>(*plUbound) + elements - 1);
    }
    return result;
}

namespace {
HRESULT PtrOfIndex(SAFEARRAY* psa, LONG* rgIndices, void** ppvData) {
    if (psa == nullptr || rgIndices == nullptr || ppvData == nullptr) { return E_INVALIDARG; }
    std::size_t index = 0;
    std::size_t stride = 1;
    for (USHORT i = 0; i < psa->cDims; ++i) // the first index varies fastest
    {
        const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - 1 - i];
        const ULONG offset = static_cast<ULONG>(rgIndices[i]) - static_cast<ULONG>(bound.lLbound);
        if (rgIndices[i] < bound.lLbound || offset >= bound.cElements) { return DISP_E_BADINDEX; }
        index += offset * stride;
        stride *= bound.cElements;
    }
    *ppvData = ElementAt(*psa, index);
    return S_OK;
}
} // namespace

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    void* element = nullptr;
    const HRESULT result = pv == nullptr ? E_INVALIDARG : PtrOfIndex(psa, rgIndices, &element);
    return FAILED(result) ? result : CopyElement(*psa, pv, element);
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    void* element = nullptr;
    const HRESULT found = PtrOfIndex(psa, rgIndices, &element);
    if (FAILED(found)) { return found; }
    const Kind kind = KindOf(*psa);
    // Strings and objects are passed as they are, everything else by address.
    void* const from = kind == Kind::text || kind == Kind::object ? static_cast<void*>(&pv) : pv;
    if (from == nullptr) { return E_INVALIDARG; }
    VARIANT room = {}; // has room for the largest element
    const HRESULT result = CopyElement(*psa, &room, from);
    if (SUCCEEDED(result)) {
        VARIANT old = {};
        std::memcpy(&old, element, psa->cbElements);
        std::memcpy(element, &room, psa->cbElements);
        DestroyElement(kind, &old); // last, because it may run foreign code, which must see the new element
    }
    return result;
}

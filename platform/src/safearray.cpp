// SPDX-License-Identifier: MIT
//
// Creating, copying and destroying arrays. 16 bytes precede the descriptor: the interface id of an array of objects;
// otherwise the last four are the element type.
#include "allocation.h"

#include "safearray_elements.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace LXPlatformArray;

namespace {
constexpr std::size_t g_prefix = 16;
constexpr UINT g_mostDimensions = 65535;

USHORT FeaturesOf(VARTYPE vt) {
    switch (vt) {
    case VT_BSTR: return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_UNKNOWN: return FADF_HAVEIID | FADF_UNKNOWN;
    case VT_DISPATCH: return FADF_HAVEIID | FADF_DISPATCH;
    case VT_VARIANT: return FADF_HAVEVARTYPE | FADF_VARIANT;
    default: return FADF_HAVEVARTYPE;
    }
}

DWORD& TypeOf(SAFEARRAY* psa) { return reinterpret_cast<DWORD*>(psa)[-1]; }

std::size_t CountOf(const SAFEARRAY& array) {
    std::size_t count = 1;
    for (USHORT i = 0; i < array.cDims; ++i) {
        count *= array.rgsabound[i].cElements;
    }
    return count;
}

bool FitsInMemory(const SAFEARRAY& array) {
    std::size_t bytes = array.cbElements;
    for (USHORT i = 0; i < array.cDims; ++i) {
        const std::size_t elements = array.rgsabound[i].cElements;
        if (elements != 0 && bytes > std::numeric_limits<ULONG>::max() / elements) { return false; }
        bytes *= elements;
    }
    return true;
}

SAFEARRAY* Allocate(VARTYPE vt, UINT dimensions) {
    const std::size_t size = sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
    BYTE* const block = static_cast<BYTE*>(LXAllocate(1, g_prefix + size));
    if (block == nullptr) { return nullptr; }
    SAFEARRAY* const array = reinterpret_cast<SAFEARRAY*>(block + g_prefix);
    array->cDims = static_cast<USHORT>(dimensions);
    array->fFeatures = FeaturesOf(vt);
    array->cbElements = SizeOf(vt);
    if ((array->fFeatures & FADF_HAVEIID) != 0) {
        std::memcpy(block, vt == VT_UNKNOWN ? &IID_IUnknown : &IID_IDispatch, sizeof(IID));
    } else {
        TypeOf(array) = vt;
    }
    return array;
}

void Free(SAFEARRAY* psa) {
    std::free(psa->pvData);
    std::free(reinterpret_cast<BYTE*>(psa) - g_prefix);
}

bool AllocateData(SAFEARRAY& array) {
    if (FitsInMemory(array)) { array.pvData = LXAllocate(std::max<std::size_t>(CountOf(array), 1), array.cbElements); }
    return array.pvData != nullptr;
}

std::atomic_ref<ULONG> Locks(SAFEARRAY* psa) { return std::atomic_ref<ULONG>(psa->cLocks); }
} // namespace

ULONG LXPlatformArray::SizeOf(VARTYPE vt) {
    switch (vt) {
    case VT_I1:
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR: return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_UNKNOWN:
    case VT_DISPATCH: return 8;
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
    }
}

HRESULT SafeArrayAllocDescriptorEx(VARTYPE vt, UINT cDims, SAFEARRAY** ppsaOut) {
    if (ppsaOut == nullptr || SizeOf(vt) == 0 || cDims == 0 || cDims > g_mostDimensions) { return E_INVALIDARG; }
    *ppsaOut = Allocate(vt, cDims);
    return *ppsaOut != nullptr ? S_OK : E_OUTOFMEMORY;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    SAFEARRAY* array = nullptr;
    if (rgsabound == nullptr || FAILED(SafeArrayAllocDescriptorEx(vt, cDims, &array))) { return nullptr; }
    std::reverse_copy(rgsabound, rgsabound + cDims, array->rgsabound);
    if (!AllocateData(*array)) {
        Free(array);
        return nullptr;
    }
    return array;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    SAFEARRAYBOUND bound = {cElements, lLbound};
    return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    if (psa == nullptr) { return S_OK; }
    if (Locks(psa).load() > 0) { return DISP_E_ARRAYISLOCKED; }
    const Kind kind = KindOf(*psa);
    const std::size_t count = kind == Kind::plain || psa->pvData == nullptr ? 0 : CountOf(*psa);
    for (std::size_t i = 0; i < count; ++i) {
        DestroyElement(kind, ElementAt(*psa, i));
    }
    Free(psa);
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
    if (ppsaOut == nullptr) { return E_INVALIDARG; }
    *ppsaOut = nullptr;
    if (psa == nullptr) { return S_OK; }
    VARTYPE vt = VT_EMPTY;
    const HRESULT known = SafeArrayGetVartype(psa, &vt);
    if (FAILED(known)) { return known; }
    if (psa->pvData == nullptr) { return E_INVALIDARG; }
    SAFEARRAY* const copy = Allocate(vt, psa->cDims);
    if (copy == nullptr) { return E_OUTOFMEMORY; }
    std::copy_n(psa->rgsabound, psa->cDims, copy->rgsabound);
    HRESULT result = AllocateData(*copy) ? S_OK : E_OUTOFMEMORY;
    for (std::size_t i = 0, count = CountOf(*psa); i < count && SUCCEEDED(result); ++i) {
        result = CopyElement(*psa, ElementAt(*copy, i), ElementAt(*psa, i));
    }
    if (FAILED(result)) {
        copy->pvData == nullptr ? Free(copy) : static_cast<void>(SafeArrayDestroy(copy));
        return result;
    }
    *ppsaOut = copy;
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
    if (psa == nullptr || pvt == nullptr) { return E_INVALIDARG; }
    if ((psa->fFeatures & FADF_DISPATCH) != 0) {
        *pvt = VT_DISPATCH;
    } else if ((psa->fFeatures & FADF_UNKNOWN) != 0) {
        *pvt = VT_UNKNOWN;
    } else if ((psa->fFeatures & FADF_HAVEVARTYPE) != 0) {
        *pvt = static_cast<VARTYPE>(TypeOf(psa));
    } else {
        return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (psa == nullptr || ppvData == nullptr) { return E_INVALIDARG; }
    *ppvData = psa->pvData;
    ++Locks(psa);
    return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) {
    if (psa == nullptr) { return E_INVALIDARG; }
    ULONG locks = Locks(psa).load();
    do {
        if (locks == 0) { return E_UNEXPECTED; }
    } while (!Locks(psa).compare_exchange_weak(locks, locks - 1));
    return S_OK;
}

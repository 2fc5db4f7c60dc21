// SPDX-License-Identifier: MIT
//
// The layouts that must match Windows. The tests compile this file on Windows too.
#include <windows.h>

#include <oleauto.h>

#include <cstddef>

static_assert(sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(HRESULT) == 4 && sizeof(BOOL) == 4);
static_assert(sizeof(OLECHAR) == 2 && sizeof(VARIANT_BOOL) == 2 && sizeof(VARTYPE) == 2);

static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data2) == 4 && offsetof(GUID, Data4) == 8);

static_assert(sizeof(VARIANT) == 24 && alignof(VARIANT) == 8);
static_assert(offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, wReserved1) == 2 && offsetof(VARIANT, wReserved3) == 6);
static_assert(offsetof(VARIANT, llVal) == 8 && offsetof(VARIANT, lVal) == 8 && offsetof(VARIANT, boolVal) == 8);
static_assert(offsetof(VARIANT, bstrVal) == 8 && offsetof(VARIANT, punkVal) == 8 && offsetof(VARIANT, parray) == 8);

static_assert(sizeof(SAFEARRAYBOUND) == 8 && offsetof(SAFEARRAYBOUND, lLbound) == 4);
static_assert(sizeof(SAFEARRAY) == 32 && offsetof(SAFEARRAY, fFeatures) == 2 && offsetof(SAFEARRAY, cbElements) == 4);
static_assert(offsetof(SAFEARRAY, cLocks) == 8 && offsetof(SAFEARRAY, pvData) == 16 &&
              offsetof(SAFEARRAY, rgsabound) == 24);

// SPDX-License-Identifier: MIT
//
// The elements of an array: how they are copied and destroyed.
#ifndef LXPLATFORM_SAFEARRAY_ELEMENTS_H
#define LXPLATFORM_SAFEARRAY_ELEMENTS_H

#include <oleauto.h>

#include <cstddef>

namespace LXPlatformArray {
/// How the elements of an array are copied and destroyed.
enum class Kind { plain, text, object, variant };

/// The size of a value in bytes; 0 for what no array and no reference is of.
ULONG SizeOf(VARTYPE vt);

Kind KindOf(const SAFEARRAY& array);

inline void* ElementAt(const SAFEARRAY& array, std::size_t index) {
    return static_cast<BYTE*>(array.pvData) + index * array.cbElements;
}

inline IUnknown* AsObject(void* element) { return *static_cast<IUnknown**>(element); }

/// Copies an element into raw room.
HRESULT CopyElement(const SAFEARRAY& array, void* to, void* from);

inline void DestroyElement(Kind kind, void* element) {
    if (kind == Kind::variant) {
        VARIANT* const value = static_cast<VARIANT*>(element);
        if (value->vt != VT_EMPTY) // of an array whose values were moved out there is nothing else
        {
            VariantClear(value);
        }
    } else if (kind == Kind::text) {
        SysFreeString(*static_cast<BSTR*>(element));
    } else if (kind == Kind::object && AsObject(element) != nullptr) {
        AsObject(element)->Release();
    }
}
} // namespace LXPlatformArray

#endif

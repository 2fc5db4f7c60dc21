// SPDX-License-Identifier: MIT
//
// Copying and destroying array elements.
#ifndef LXPLATFORM_SAFEARRAY_ELEMENTS_H
#define LXPLATFORM_SAFEARRAY_ELEMENTS_H

#include <oleauto.h>

#include <cstddef>

namespace LXPlatformArray {
enum class Kind { plain, text, object, variant };

/// The size of a value in bytes; 0 for types that arrays and references cannot have.
ULONG SizeOf(VARTYPE vt);

Kind KindOf(const SAFEARRAY& array);

inline void* ElementAt(const SAFEARRAY& array, std::size_t index) {
    return static_cast<BYTE*>(array.pvData) + index * array.cbElements;
}

inline IUnknown* AsObject(void* element) { return *static_cast<IUnknown**>(element); }

/// Copies an element into uninitialised memory.
HRESULT CopyElement(const SAFEARRAY& array, void* to, void* from);

inline void DestroyElement(Kind kind, void* element) {
    if (kind == Kind::variant) {
        VARIANT* const value = static_cast<VARIANT*>(element);
        if (value->vt != VT_EMPTY) // elements that were moved out are VT_EMPTY; skip them
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

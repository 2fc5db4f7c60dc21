// SPDX-License-Identifier: MIT
//
// The elements of an array: how they are copied and destroyed.
#ifndef LXPLATFORM_SAFEARRAY_ELEMENTS_H
#define LXPLATFORM_SAFEARRAY_ELEMENTS_H

#include <oleauto.h>

#include <cstddef>

namespace LXPlatformArray
{
/// How the elements of an array are copied and destroyed.
enum class Kind
{
    plain,
    text,
    object,
    variant
};

Kind KindOf(const SAFEARRAY& array);

void* ElementAt(const SAFEARRAY& array, std::size_t index);

/// Copies an element into raw room.
HRESULT CopyElement(const SAFEARRAY& array, void* to, void* from);

void DestroyElement(Kind kind, void* element);
} // namespace LXPlatformArray

#endif

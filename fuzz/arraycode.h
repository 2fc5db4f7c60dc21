// SPDX-License-Identifier: MIT
//
// Arrays as bytes, in a code of which every byte string means some array, so that a fuzzer's small changes make small
// changes to elements. The first byte says what container it is, each further one starts an element.
#ifndef ARRAYCODE_H
#define ARRAYCODE_H

#include "XLXSafeArray.h"

#include <cstdint>
#include <span>

using XBytes = std::span<const std::uint8_t>;

/// Objects in decoded arrays that are alive.
long LXLiveFuzzObjects();

/// The containers that the first byte stands for; any other byte is a plain one too.
enum class EContainer : std::uint8_t { Plain = 0, LowerBoundNegative, LowerBoundLarge, NoArray, Texts, TwoDimensions };

/// The array that bytes stand for, of at most 4096 elements.
XLXSafeArray DecodeArray(XBytes bytes);

#endif

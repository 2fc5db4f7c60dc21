// SPDX-License-Identifier: MIT
//
// A byte code for arrays in which every byte string is valid and small changes of bytes make small changes of elements.
// The first byte selects the container; each further one starts an element.
#ifndef ARRAYCODE_H
#define ARRAYCODE_H

#include "XLXSafeArray.h"

#include <cstdint>
#include <span>
#include <string_view>

using XBytes = std::span<const std::uint8_t>;

/// Ends the process unless the condition holds.
void LXRequire(bool holds, std::string_view what);

/// The containers for values of the first byte; any other value also means Plain.
enum class EContainer : std::uint8_t { Plain = 0, LowerBoundNegative, LowerBoundLarge, NoArray, Texts, TwoDimensions };

/// Decodes an array of at most 4096 elements.
XLXSafeArray DecodeArray(XBytes bytes);

#endif

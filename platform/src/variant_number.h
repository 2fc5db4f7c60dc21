// SPDX-License-Identifier: MIT
//
// The intermediate form of a number in a conversion between VARIANT types.
#ifndef LXPLATFORM_VARIANT_NUMBER_H
#define LXPLATFORM_VARIANT_NUMBER_H

#include <oleauto.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace LXPlatformNumber {
/// A source value, before it is converted to the target type.
struct Number {
    bool isReal = false;
    bool negative = false; // an integer below zero
    uint64_t bits = 0;     // an integer in two's complement
    double real = 0;
    unsigned width = 0;     // size of the source type; a type of equal size and other signedness takes the bits as is
    bool unchecked = false; // no range check: a boolean fits every type
    int digits = 15;        // significant digits of a real
};

/// Reads a value that is already a number.
std::optional<Number> FromValue(const VARIANT& value);

/// Parses text up to its end or a zero character. Invariant locale; no currency signs, no hexadecimal or octal numbers.
HRESULT FromText(std::u16string_view text, Number& number);
} // namespace LXPlatformNumber

#endif

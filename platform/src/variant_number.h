// SPDX-License-Identifier: MIT
//
// A number on its way from one VARIANT type to another.
#ifndef LXPLATFORM_VARIANT_NUMBER_H
#define LXPLATFORM_VARIANT_NUMBER_H

#include <oleauto.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace LXPlatformNumber {
/// What a value is before it becomes the wanted type.
struct Number {
    bool isReal = false;
    bool negative = false; // a whole number below zero
    uint64_t bits = 0;     // a whole number in two's complement
    double real = 0;
    unsigned width = 0;     // size of the source type; the other sign of the same size takes the bits as they are
    bool unchecked = false; // a boolean fits every type
    int digits = 15;        // that a real is worth
};

/// Reads a value that is a number already.
std::optional<Number> FromValue(const VARIANT& value);

/// Reads a number in text, up to its end or a zero character. As in the invariant locale, without currency signs and
/// without hexadecimal or octal numbers.
HRESULT FromText(std::u16string_view text, Number& number);
} // namespace LXPlatformNumber

#endif

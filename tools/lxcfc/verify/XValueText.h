// SPDX-License-Identifier: MIT
//
// Converts values to text, for comparisons and messages. Works for values of any type, including invalid ones.
#ifndef XVALUETEXT_H
#define XVALUETEXT_H

#include "XLXComVariant.h"

#include <span>
#include <string>
#include <vector>

/// The name of a type: "VT_BSTR" for 8, "type 0x4008" for an unnamed one.
std::string LXTypeText(VARTYPE type);
/// Type and value, such as: VT_BSTR "Pump". The text of an object does not identify the object.
std::string LXValueText(const VARIANT& value);
/// A name in quotes, for messages.
std::string LXQuoted(const std::string& text);

/// The values of an object as texts.
using XRow = std::vector<std::string>;
XRow LXRowOf(std::span<const VARIANT> values);
/// The first difference between two rows; empty if they are equal.
std::string LXDifference(const XRow& expected, const char* expectedBy, const XRow& came, const char* cameBy);

/// The value as a name, as the cache reads it; empty if it is not a name.
std::string LXNameIn(const VARIANT& value);
/// A name or number as text, without its type.
std::string LXKeyText(const VARIANT& value);
bool LXIsNumber(const VARIANT& value);
bool LXIsFlag(const VARIANT& value);

#endif

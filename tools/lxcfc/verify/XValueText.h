// SPDX-License-Identifier: MIT
//
// Values as texts, for comparisons and messages. Any value has one, whatever its type says.
#ifndef XVALUETEXT_H
#define XVALUETEXT_H

#include "XLXComVariant.h"

#include <span>
#include <string>
#include <vector>

/// "VT_BSTR" for 8; "type 0x4008" for one without a name.
std::string LXTypeText(VARTYPE type);
/// Type and value, such as: VT_BSTR "Pump". Which object it is does not show.
std::string LXValueText(const VARIANT& value);
/// A name among other words: "Pump" with its quotes.
std::string LXQuoted(const std::string& text);

/// The values of an object as texts.
using XRow = std::vector<std::string>;
XRow LXRowOf(std::span<const VARIANT> values);
/// Where two rows differ first; empty where they do not.
std::string LXDifference(const XRow& expected, const char* expectedBy, const XRow& came, const char* cameBy);

/// A value as the cache reads it: a name, a number or a flag. Nothing when it cannot.
std::string LXNameIn(const VARIANT& value);
/// A name or a number as a text without its type.
std::string LXKeyText(const VARIANT& value);
bool LXIsNumber(const VARIANT& value);
bool LXIsFlag(const VARIANT& value);

#endif

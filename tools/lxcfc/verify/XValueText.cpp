// SPDX-License-Identifier: MIT
#include "XValueText.h"

#include "XModelValue.h"

#include <algorithm>
#include <cstdio>

namespace {
struct NamedType {
    VARTYPE type;
    const char* name;
};

constexpr NamedType Types[] = {
    {VT_EMPTY, "VT_EMPTY"},     {VT_NULL, "VT_NULL"}, {VT_I2, "VT_I2"},     {VT_I4, "VT_I4"},
    {VT_R4, "VT_R4"},           {VT_R8, "VT_R8"},     {VT_BSTR, "VT_BSTR"}, {VT_DISPATCH, "VT_DISPATCH"},
    {VT_BOOL, "VT_BOOL"},       {VT_I1, "VT_I1"},     {VT_UI1, "VT_UI1"},   {VT_UI2, "VT_UI2"},
    {VT_UI4, "VT_UI4"},         {VT_I8, "VT_I8"},     {VT_UI8, "VT_UI8"},   {VT_INT, "VT_INT"},
    {VT_UNKNOWN, "VT_UNKNOWN"}, {VT_UINT, "VT_UINT"},
};

/// A bitwise copy of a scalar value; empty for other types, whose content may be invalid.
XLXComVariant ScalarOf(const VARIANT& value) {
    XLXComVariant copy;
    if (LXIsScalar(V_VT(&value))) { copy.Get() = value; }
    return copy;
}

std::string RealText(double value) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.17g", value);
    return text;
}
} // namespace

std::string LXTypeText(VARTYPE type) {
    const auto* const known =
        std::find_if(std::begin(Types), std::end(Types), [type](const NamedType& entry) { return entry.type == type; });
    if (known != std::end(Types)) { return known->name; }
    char number[16];
    std::snprintf(number, sizeof(number), "type 0x%04X", static_cast<unsigned>(type));
    return number;
}

std::string LXQuoted(const std::string& text) { return '"' + text + '"'; }

std::string LXValueText(const VARIANT& value) {
    const VARTYPE type = V_VT(&value);
    std::string text = LXTypeText(type);
    switch (type) {
    case VT_EMPTY:
    case VT_NULL: return text;
    case VT_BSTR: return text + ' ' + LXQuoted(LXToUtf8(LXBstrView(V_BSTR(&value))));
    case VT_BOOL: return text + (V_BOOL(&value) != VARIANT_FALSE ? " true" : " false");
    case VT_R4: return text + ' ' + RealText(static_cast<double>(V_R4(&value)));
    case VT_R8: return text + ' ' + RealText(V_R8(&value));
    case VT_UNKNOWN:
    case VT_DISPATCH: return text + (V_UNKNOWN(&value) != nullptr ? " object" : " null");
    default: {
        const auto number = LXIsScalar(type) ? ScalarOf(value).AsText() : std::nullopt;
        return number ? text + ' ' + LXToUtf8(*number) : text;
    }
    }
}

XRow LXRowOf(std::span<const VARIANT> values) {
    XRow row;
    row.reserve(values.size());
    std::transform(values.begin(), values.end(), std::back_inserter(row), LXValueText);
    return row;
}

std::string LXDifference(const XRow& expected, const char* expectedBy, const XRow& came, const char* cameBy) {
    const auto [left, right] = std::mismatch(expected.begin(), expected.end(), came.begin(), came.end());
    if (left == expected.end() && right == came.end()) { return ""; }
    const auto shown = [](const XRow& row, XRow::const_iterator at) { return at != row.end() ? *at : "no value"; };
    return "value " + std::to_string(left - expected.begin()) + ": " + expectedBy + " has " + shown(expected, left) +
           ", " + cameBy + " has " + shown(came, right);
}

std::string LXNameIn(const VARIANT& value) {
    return V_VT(&value) == VT_BSTR ? LXToUtf8(LXBstrView(V_BSTR(&value))) : "";
}

std::string LXKeyText(const VARIANT& value) {
    const std::string text = LXValueText(value);
    return V_VT(&value) == VT_BSTR ? LXNameIn(value) : text.substr(std::min(text.size(), text.find(' ') + 1));
}

bool LXIsNumber(const VARIANT& value) {
    return V_VT(&value) == VT_EMPTY || (LXIsScalar(V_VT(&value)) && ScalarOf(value).AsLong().has_value());
}

bool LXIsFlag(const VARIANT& value) {
    return V_VT(&value) == VT_EMPTY || (LXIsScalar(V_VT(&value)) && ScalarOf(value).AsBool().has_value());
}

// SPDX-License-Identifier: MIT
//
// VariantChangeType between the types of configuration values.
#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {
/// The result of a conversion to a type, as text; "mismatch" and "overflow" are failures.
struct Row {
    const OLECHAR* from;
    VARTYPE to;
    const char* expected;
};

std::string Described(HRESULT result, const XLXComVariant& of) {
    if (result == DISP_E_TYPEMISMATCH) { return "mismatch"; }
    if (result == DISP_E_OVERFLOW) { return "overflow"; }
    const VARIANT& value = of.Get();
    char text[40];
    switch (value.vt) {
    case VT_I4: return std::to_string(value.lVal);
    case VT_BOOL: return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "odd";
    case VT_R8: std::snprintf(text, sizeof(text), "%.12g", value.dblVal); return text;
    case VT_BSTR: {
        const XLXTextView wide = LXBstrView(value.bstrVal);
        return std::string(wide.begin(), wide.end());
    }
    default: return "type " + std::to_string(value.vt);
    }
}

constexpr Row Texts[] = {
    {OLESTR(" \t12 "), VT_I4, "12"},
    {OLESTR("12-"), VT_I4, "-12"},
    {OLESTR("(12)"), VT_I4, "-12"},
    {OLESTR("- 5"), VT_I4, "-5"},
    {OLESTR("13.5"), VT_I4, "14"},
    {OLESTR("-0.5"), VT_I4, "0"},
    {OLESTR("1E+3"), VT_I4, "1000"},
    {OLESTR("1,234"), VT_I4, "1234"},
    {OLESTR("2147483647.4"), VT_I4, "2147483647"},
    {OLESTR("2147483647.5"), VT_I4, "overflow"},
    {OLESTR(""), VT_I4, "mismatch"},
    {OLESTR("abc"), VT_I4, "mismatch"},
    {OLESTR("1 2"), VT_I4, "mismatch"},
    {OLESTR("1.2.3"), VT_I4, "mismatch"},
    {OLESTR("(5"), VT_I4, "mismatch"},
    {OLESTR("5)"), VT_I4, "mismatch"},
    {OLESTR(".5"), VT_R8, "0.5"},
    {OLESTR("1e-400"), VT_R8, "0"},
    {OLESTR("1e400"), VT_R8, "overflow"},
    {OLESTR("1e"), VT_R8, "mismatch"},
    {OLESTR("True"), VT_BOOL, "true"},
    {OLESTR("#TRUE#"), VT_BOOL, "true"},
    {OLESTR("0"), VT_BOOL, "false"},
    {OLESTR("0.1"), VT_BOOL, "true"},
    {OLESTR("true "), VT_BOOL, "mismatch"},
    {OLESTR("12"), VT_UNKNOWN, "mismatch"},
};
} // namespace

TEST(Conversions, OfTexts) {
    for (const Row& row : Texts) {
        auto from = XLXComVariant::FromBstr(row.from);
        auto to = XLXComVariant::FromI4(4711);
        const HRESULT result = VariantChangeType(&to.Get(), &from.Get(), 0, row.to);
        EXPECT_EQ(row.expected, Described(result, to)) << Described(S_OK, from);
        EXPECT_TRUE(SUCCEEDED(result) || Described(S_OK, to) == "4711") << "a failure leaves the target alone";
        EXPECT_EQ(LXBstrView(V_BSTR(&from.Get())), row.from);
    }
}

TEST(Conversions, OfNumbers) {
    struct {
        VARTYPE from;
        double number;
        VARTYPE to;
        const char* expected;
    } const rows[] = {
        {VT_EMPTY, 0, VT_I4, "0"},
        {VT_EMPTY, 0, VT_BSTR, ""},
        {VT_EMPTY, 0, VT_UNKNOWN, "mismatch"},
        {VT_NULL, 0, VT_I4, "mismatch"},
        {VT_NULL, 0, VT_BSTR, "mismatch"},
        {VT_I4, -70000, VT_BSTR, "-70000"},
        {VT_I4, -70000, VT_BOOL, "true"},
        {VT_I4, -70000, VT_UNKNOWN, "mismatch"},
        {VT_UI4, 4294967295.0, VT_BSTR, "4294967295"},
        {VT_UI4, 4294967295.0, VT_R8, "4294967295"},
        {VT_I8, 1e12, VT_I4, "overflow"},
        {VT_BOOL, VARIANT_TRUE, VT_BSTR, "-1"},
        {VT_R8, 2.5, VT_BSTR, "2.5"},
        {VT_R8, 2.5, VT_I4, "2"},
        {VT_R8, 3.5, VT_I4, "4"},
        {VT_R8, 0.1 + 0.2, VT_BSTR, "0.3"},
        {VT_R8, 1e20, VT_BSTR, "1E+20"},
        {VT_R8, 1e20, VT_I4, "overflow"},
        {VT_R8, -0.0, VT_BSTR, "0"},
        {VT_ERROR, 0, VT_I4, "mismatch"},
    };
    for (const auto& row : rows) {
        VARIANT from = {};
        from.vt = row.from;
        switch (row.from) {
        case VT_R8: from.dblVal = row.number; break;
        case VT_BOOL: from.boolVal = VARIANT_TRUE; break;
        default: from.llVal = static_cast<LONGLONG>(row.number); break; // little-endian: also the smaller ones
        }
        XLXComVariant to;
        const HRESULT result = VariantChangeType(&to.Get(), &from, 0, row.to);
        EXPECT_EQ(row.expected, Described(result, to)) << row.from << " " << row.number << " to " << row.to;
    }
    auto value = XLXComVariant::FromI4(1);
    EXPECT_EQ(DISP_E_BADVARTYPE, VariantChangeType(&value.Get(), &value.Get(), 0, 77));
}

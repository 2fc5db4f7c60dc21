// SPDX-License-Identifier: MIT
//
// VariantChangeType between the types of configuration values.
#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {
/// The result of a conversion as text; "mismatch" and "overflow" are failures.
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

XLXComVariant Text(XLXTextView text) { return XLXComVariant::FromBstr(text); }
XLXComVariant Real(double number) { return XLXComVariant::FromDouble(number); }
XLXComVariant Whole(VARTYPE type, LONGLONG number) {
    XLXComVariant value;
    value.Get().vt = type;
    value.Get().llVal = number; // little-endian: also the smaller types
    return value;
}
} // namespace

TEST(Conversions, OfTextsAndNumbers) {
    const struct {
        XLXComVariant from;
        VARTYPE to;
        const char* expected;
    } rows[] = {
        {Text(OLESTR(" \t12 ")), VT_I4, "12"},
        {Text(OLESTR("12-")), VT_I4, "-12"},
        {Text(OLESTR("(12)")), VT_I4, "-12"},
        {Text(OLESTR("- 5")), VT_I4, "-5"},
        {Text(OLESTR("13.5")), VT_I4, "14"},
        {Text(OLESTR("-0.5")), VT_I4, "0"},
        {Text(OLESTR("1E+3")), VT_I4, "1000"},
        {Text(OLESTR("1,234")), VT_I4, "1234"},
        {Text(OLESTR("2147483647.4")), VT_I4, "2147483647"},
        {Text(OLESTR("2147483647.5")), VT_I4, "overflow"},
        {Text(OLESTR("")), VT_I4, "mismatch"},
        {Text(OLESTR("1 2")), VT_I4, "mismatch"},
        {Text(OLESTR("1.2.3")), VT_I4, "mismatch"},
        {Text(OLESTR("(5")), VT_I4, "mismatch"},
        {Text(OLESTR("5)")), VT_I4, "mismatch"},
        {Text(OLESTR(".5")), VT_R8, "0.5"},
        {Text(OLESTR("1e-400")), VT_R8, "0"},
        {Text(OLESTR("1e400")), VT_R8, "overflow"},
        {Text(OLESTR("1e")), VT_R8, "mismatch"},
        {Text(OLESTR("True")), VT_BOOL, "true"},
        {Text(OLESTR("#TRUE#")), VT_BOOL, "true"},
        {Text(OLESTR("0")), VT_BOOL, "false"},
        {Text(OLESTR("0.1")), VT_BOOL, "true"},
        {Text(OLESTR("true ")), VT_BOOL, "mismatch"},
        {{}, VT_I4, "0"},
        {{}, VT_BSTR, ""},
        {Whole(VT_NULL, 0), VT_I4, "mismatch"},
        {Whole(VT_NULL, 0), VT_BSTR, "mismatch"},
        {Whole(VT_ERROR, 0), VT_I4, "mismatch"},
        {Whole(VT_I4, -70000), VT_BSTR, "-70000"},
        {Whole(VT_I4, -70000), VT_BOOL, "true"},
        {Whole(VT_UI4, 4294967295), VT_BSTR, "4294967295"},
        {Whole(VT_UI4, 4294967295), VT_R8, "4294967295"},
        {Whole(VT_I8, 1000000000000), VT_I4, "overflow"},
        {Whole(VT_BOOL, VARIANT_TRUE), VT_BSTR, "-1"},
        {Real(2.5), VT_BSTR, "2.5"},
        {Real(2.5), VT_I4, "2"},
        {Real(3.5), VT_I4, "4"},
        {Real(0.1 + 0.2), VT_BSTR, "0.3"},
        {Real(1e20), VT_BSTR, "1E+20"},
        {Real(1e20), VT_I4, "overflow"},
        {Real(-0.0), VT_BSTR, "0"},
    };
    for (const auto& [from, type, expected] : rows) {
        const std::string before = Described(S_OK, from);
        SCOPED_TRACE(before + " to " + std::to_string(type));
        auto to = XLXComVariant::FromI4(4711);
        const HRESULT result = VariantChangeType(&to.Get(), const_cast<VARIANT*>(&from.Get()), 0, type);
        EXPECT_EQ(expected, Described(result, to));
        EXPECT_TRUE(SUCCEEDED(result) || Described(S_OK, to) == "4711") << "a failure leaves the target alone";
        EXPECT_EQ(before, Described(S_OK, from));
    }
}

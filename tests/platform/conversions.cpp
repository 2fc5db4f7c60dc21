// SPDX-License-Identifier: MIT
//
// VariantChangeType between the types that configuration values have.
#include "contract.h"

#include <cstdio>
#include <tuple>

namespace {
/// What a conversion to a type must give, as text; "mismatch" and "overflow" are failures.
struct Row {
    const OLECHAR* from;
    VARTYPE to;
    const char* expected;
};

std::string Described(HRESULT result, const VARIANT& value) {
    if (result == DISP_E_TYPEMISMATCH) { return "mismatch"; }
    if (result == DISP_E_OVERFLOW) { return "overflow"; }
    char text[40];
    switch (value.vt) {
    case VT_I4: return std::to_string(value.lVal);
    case VT_BOOL: return value.boolVal == VARIANT_TRUE ? "true" : value.boolVal == VARIANT_FALSE ? "false" : "odd";
    case VT_R8: std::snprintf(text, sizeof(text), "%.12g", value.dblVal); return text;
    case VT_BSTR: {
        const Text wide = TextOf(value.bstrVal);
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
        Variant from(row.from);
        Variant to(LONG{4711});
        const HRESULT result = VariantChangeType(&to, &from, 0, row.to);
        EXPECT_EQ(row.expected, Described(result, to)) << Described(S_OK, from);
        EXPECT_TRUE(SUCCEEDED(result) || (to.vt == VT_I4 && to.lVal == 4711)) << "a failure leaves the target alone";
        EXPECT_EQ(Text(row.from), TextOf(from.bstrVal));
    }
}

TEST(Conversions, OfNumbers) {
    const auto expect = [](const VARIANT& from, VARTYPE type, const char* expected) {
        Variant to;
        VARIANT copy = from;
        const HRESULT result = VariantChangeType(&to, &copy, 0, type);
        EXPECT_EQ(expected, Described(result, to)) << from.vt << " to " << type;
    };
    VARIANT value = {};
    expect(value, VT_I4, "0");
    expect(value, VT_BSTR, "");
    expect(value, VT_UNKNOWN, "mismatch");
    value.vt = VT_NULL;
    expect(value, VT_I4, "mismatch");
    expect(value, VT_BSTR, "mismatch");
    value.vt = VT_I4;
    value.lVal = -70000;
    expect(value, VT_BSTR, "-70000");
    expect(value, VT_BOOL, "true");
    expect(value, VT_UNKNOWN, "mismatch");
    value.vt = VT_UI4;
    value.ulVal = 0xFFFFFFFF;
    expect(value, VT_BSTR, "4294967295");
    expect(value, VT_R8, "4294967295");
    value.vt = VT_I8;
    value.llVal = 1LL << 40;
    expect(value, VT_I4, "overflow");
    value.vt = VT_BOOL;
    value.boolVal = VARIANT_TRUE;
    expect(value, VT_BSTR, "-1");
    for (const auto& [number, text, whole] :
         {std::tuple(2.5, "2.5", "2"), std::tuple(3.5, "3.5", "4"), std::tuple(0.1 + 0.2, "0.3", "0"),
          std::tuple(1e20, "1E+20", "overflow"), std::tuple(-0.0, "0", "0")}) {
        value.vt = VT_R8;
        value.dblVal = number;
        expect(value, VT_BSTR, text);
        expect(value, VT_I4, whole);
    }
    value.vt = VT_ERROR;
    expect(value, VT_I4, "mismatch");
    EXPECT_EQ(DISP_E_BADVARTYPE, VariantChangeType(&value, &value, 0, 77));
}

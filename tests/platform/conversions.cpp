// SPDX-License-Identifier: MIT
//
// VariantChangeType: which value becomes which.
#include "contract.h"

#include <cstring>
#include <limits>
#include <vector>

namespace {
struct Value {
    VARTYPE vt;
    LONGLONG whole = 0;
    double real = 0;
    const OLECHAR* text = nullptr;
};
struct Row {
    Value from;
    Value to;
    HRESULT result = S_OK;
};

Value Whole(VARTYPE vt, LONGLONG value = 0) { return {vt, value}; }
Value Real(double value) { return {VT_R8, 0, value}; }
Value String(const OLECHAR* value) { return {VT_BSTR, 0, 0, value}; }

Row Mismatch(Value from, VARTYPE vt) { return {from, {vt}, DISP_E_TYPEMISMATCH}; }
Row Overflow(Value from, VARTYPE vt) { return {from, {vt}, DISP_E_OVERFLOW}; }

/// The bytes that the type uses.
std::size_t SizeOf(VARTYPE vt) {
    switch (vt) {
    case VT_EMPTY:
    case VT_NULL: return 0;
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: return 2;
    case VT_I8:
    case VT_UI8:
    case VT_UNKNOWN: return 8;
    default: return 4;
    }
}

void Assign(const Value& value, VARIANT& out) {
    out.vt = value.vt;
    if (value.vt == VT_BSTR) {
        out.bstrVal = SysAllocString(value.text);
    } else if (value.vt == VT_R8) {
        out.dblVal = value.real;
    } else {
        out.llVal = value.whole;
    }
}

void ExpectSame(const Value& expected, const VARIANT& actual) {
    ASSERT_EQ(expected.vt, actual.vt);
    if (expected.vt == VT_BSTR) {
        EXPECT_EQ(Text(expected.text), TextOf(actual.bstrVal));
    } else if (expected.vt == VT_R8) {
        EXPECT_EQ(expected.real, actual.dblVal);
    } else {
        EXPECT_EQ(0, std::memcmp(&expected.whole, &actual.llVal, SizeOf(expected.vt)))
            << "expected " << expected.whole << ", is " << actual.llVal;
    }
}

std::vector<Row> FromText() {
    const auto i4 = [](const OLECHAR* text, LONG value) { return Row{String(text), Whole(VT_I4, value)}; };
    const auto r8 = [](const OLECHAR* text, double value) { return Row{String(text), Real(value)}; };
    const auto truth = [](const OLECHAR* text, int value) { return Row{String(text), Whole(VT_BOOL, value)}; };
    std::vector<Row> rows = {i4(OLESTR("12"), 12),
                             i4(OLESTR(" \t12 "), 12),
                             i4(OLESTR("-12"), -12),
                             i4(OLESTR("12-"), -12),
                             i4(OLESTR("(12)"), -12),
                             i4(OLESTR("- 5"), -5),
                             i4(OLESTR("+12"), 12),
                             i4(OLESTR("12.5"), 12),
                             i4(OLESTR("13.5"), 14),
                             i4(OLESTR("-0.5"), 0),
                             i4(OLESTR("5."), 5),
                             i4(OLESTR("1E+3"), 1000),
                             i4(OLESTR("1,234"), 1234),
                             i4(OLESTR("2147483647"), 2147483647),
                             i4(OLESTR("2147483647.4"), 2147483647),
                             i4(OLESTR("-2147483648"), std::numeric_limits<LONG>::min()),
                             r8(OLESTR("12.5"), 12.5),
                             r8(OLESTR(".5"), 0.5),
                             r8(OLESTR("-1e-3"), -0.001),
                             r8(OLESTR("1e-400"), 0),
                             r8(OLESTR("1234567890123"), 1234567890123.0),
                             {String(OLESTR("4294967295")), Whole(VT_UI4, 4294967295)},
                             truth(OLESTR("True"), -1),
                             truth(OLESTR("FALSE"), 0),
                             truth(OLESTR("#TRUE#"), -1),
                             truth(OLESTR("#FALSE#"), 0),
                             truth(OLESTR("0"), 0),
                             truth(OLESTR("0.1"), -1),
                             Mismatch(String(OLESTR("true ")), VT_BOOL),
                             Mismatch(String(OLESTR("#true#")), VT_BOOL),
                             Mismatch(String(OLESTR("True")), VT_I4),
                             Mismatch(String(OLESTR("12")), VT_UNKNOWN),
                             Overflow(String(OLESTR("2147483648")), VT_I4),
                             Overflow(String(OLESTR("2147483647.5")), VT_I4),
                             Overflow(String(OLESTR("1e400")), VT_R8)};
    for (const OLECHAR* const garbage :
         {OLESTR(""), OLESTR(" "), OLESTR("abc"), OLESTR("12a"), OLESTR("0x10"), OLESTR("1 2"), OLESTR("1e"),
          OLESTR("1.2.3"), OLESTR("--5"), OLESTR("-5-"), OLESTR("(5"), OLESTR("5)"), OLESTR(",5"), OLESTR("NaN")}) {
        rows.push_back(Mismatch(String(garbage), VT_I4));
        rows.push_back(Mismatch(String(garbage), VT_R8));
    }
    return rows;
}

std::vector<Row> FromNumbers() {
    const auto text = [](Value from, const OLECHAR* to) { return Row{from, String(to)}; };
    return {text(Whole(VT_I4, -70000), OLESTR("-70000")),
            text(Whole(VT_UI4, -1), OLESTR("4294967295")),
            text(Whole(VT_UI8, -1), OLESTR("18446744073709551615")),
            text(Whole(VT_BOOL, -1), OLESTR("-1")),
            text(Whole(VT_BOOL, 0), OLESTR("0")),
            text(Whole(VT_EMPTY), OLESTR("")),
            text(Real(2.5), OLESTR("2.5")),
            text(Real(0.1 + 0.2), OLESTR("0.3")),
            text(Real(1.0 / 3), OLESTR("0.333333333333333")),
            text(Real(1e20), OLESTR("1E+20")),
            text(Real(123456.789), OLESTR("123456.789")),
            text(Real(-0.0), OLESTR("0")),
            {Whole(VT_EMPTY), Whole(VT_I4, 0)},
            {Whole(VT_EMPTY), Real(0)},
            {Whole(VT_EMPTY), Whole(VT_BOOL, 0)},
            {Whole(VT_EMPTY), Whole(VT_EMPTY)},
            {Whole(VT_I4, 3), Whole(VT_EMPTY)},
            {Whole(VT_I4, 3), Whole(VT_NULL)},
            {Whole(VT_I2, -5), Whole(VT_I4, -5)},
            {Whole(VT_I4, 5), Whole(VT_BOOL, -1)},
            {Whole(VT_BOOL, 1), Whole(VT_BOOL, 1)},
            {Whole(VT_BOOL, -1), Whole(VT_UI4, -1)},
            {Whole(VT_I4, -1), Whole(VT_UI4, -1)},
            {Real(2.5), Whole(VT_I4, 2)},
            {Real(3.5), Whole(VT_I4, 4)},
            {Real(-2.5), Whole(VT_I4, -2)},
            {Real(-0.5), Whole(VT_UI4, 0)},
            {Whole(VT_UI4, -1), Real(4294967295.0)},
            {Real(0.4), Whole(VT_BOOL, -1)},
            {Whole(VT_UNKNOWN), Whole(VT_UNKNOWN)},
            {Whole(VT_ERROR, 5), Whole(VT_ERROR, 5)},
            Overflow(Real(2147483647.5), VT_I4),
            Mismatch(Whole(VT_NULL), VT_I4),
            Mismatch(Whole(VT_NULL), VT_BSTR),
            Mismatch(Whole(VT_NULL), VT_EMPTY),
            Mismatch(Whole(VT_UNKNOWN), VT_I4),
            Mismatch(Whole(VT_UNKNOWN), VT_BSTR),
            Mismatch(Whole(VT_ERROR, 5), VT_I4),
            Mismatch(Whole(VT_I4, 5), VT_UNKNOWN),
            Mismatch(Whole(VT_I4, 5), VT_ERROR),
            Mismatch(Whole(VT_I4, 5), VT_ARRAY | VT_VARIANT),
            Mismatch(Whole(VT_I4, 5), VT_VARIANT),
            Mismatch(Whole(VT_EMPTY), VT_UNKNOWN),
            {Whole(VT_I4, 5), {77}, DISP_E_BADVARTYPE}};
}

void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const Text shown = row.from.text != nullptr ? row.from.text : OLESTR("");
        SCOPED_TRACE(testing::Message() << "from type " << row.from.vt << " '"
                                        << std::string(shown.begin(), shown.end()) << "' " << row.from.whole << ' '
                                        << row.from.real << " to type " << row.to.vt);
        Variant from;
        Assign(row.from, from);
        Variant to(LONG{4711});
        ASSERT_EQ(row.result, VariantChangeType(&to, &from, 0, row.to.vt));
        ExpectSame(SUCCEEDED(row.result) ? row.to : Whole(VT_I4, 4711), to);
        ExpectSame(row.from, from);
    }
}
} // namespace

TEST(Conversions, Text) { Check(FromText()); }
TEST(Conversions, Numbers) { Check(FromNumbers()); }

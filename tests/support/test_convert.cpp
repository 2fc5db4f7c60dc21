// SPDX-License-Identifier: MIT
//
// Texts, numbers and property names.
#include "XCfgPropertyConvert.h"
#include "XLXComBSTR.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

namespace {
constexpr LONG Max = std::numeric_limits<LONG>::max();
constexpr LONG Min = std::numeric_limits<LONG>::min();

TEST(Decimal, ReadsTheNumberAtTheBeginning) {
    const std::pair<XLXTextView, LONG> Table[] = {
        {OLESTR(""), 0},
        {OLESTR("12"), 12},
        {OLESTR("+5"), 5},
        {OLESTR(" \t\r\n-7"), -7},
        {OLESTR("12abc"), 12},
        {OLESTR("3.9"), 3},
        {OLESTR("-"), 0},
        {OLESTR("--5"), 0},
        {OLESTR("\u0661"), 0},
        {OLESTR("2147483647"), Max},
        {OLESTR("2147483648"), Max},
        {OLESTR("99999999999999999999999999"), Max},
        {OLESTR("-2147483648"), Min},
        {OLESTR("-2147483649"), Min},
        {OLESTR("-99999999999999999999999999"), Min},
        {XLXTextView(OLESTR("1\0002"), 3), 1},
    };
    for (const auto& [text, number] : Table) {
        EXPECT_EQ(number, LXParseDecimal(text)) << testing::PrintToString(XLXText(text));
    }
    for (const LONG number : {LONG{0}, LONG{-1}, Max, Min}) {
        EXPECT_EQ(number, LXParseDecimal(XLXFormat() << number));
    }
}

TEST(LowerCase, IsUnicodesWhateverTheLocale) {
    const struct {
        XLXTextView capital;
        XLXTextView small;
    } Table[] = {
        {OLESTR("AZ[@`09 _az\u00C0\u00D7\u00DE\u00DF\u00F7"), OLESTR("az[@`09 _az\u00E0\u00D7\u00FE\u00DF\u00F7")},
        {OLESTR("\u0100\u0102\u0178\u0179"), OLESTR("\u0101\u0103\u00FF\u017A")}, // every second one, and others
        {OLESTR("\u0391\u03A3\u0410\u042F\u0401"), OLESTR("\u03B1\u03C3\u0430\u044F\u0451")},
        {OLESTR("I\u0130\u0131\u1E9E"), OLESTR("ii\u0131\u00DF")}, // one character each, without rules of languages
        {OLESTR("\u212A\u2126\u2C62\uFF3A"), OLESTR("k\u03C9\u026B\uFF5A")},
        {OLESTR("\u01C4\u01C5\u10A0\u13A0\u1C90"), OLESTR("\u01C6\u01C6\u2D00\uAB70\u10D0")},
        {OLESTR("\U00010400\U00010427\U00010428\U0001E921"), OLESTR("\U00010428\U0001044F\U00010428\U0001E943")},
    };
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    for (const char* const locale : {"C", ""}) {
        std::setlocale(LC_CTYPE, locale);
        for (const auto& row : Table) {
            EXPECT_EQ(LXLowerCase(row.capital), row.small) << locale;
        }
        // Lone surrogates: low before high, high before a letter, high at the end.
        const XLXText halves{0xDC00, 0xD801, 'A', 0xD801, 0xD801, 0xDC00, 0xDC00, 0xD801};
        EXPECT_EQ(LXLowerCase(halves), (XLXText{0xDC00, 0xD801, 'a', 0xD801, 0xD801, 0xDC28, 0xDC00, 0xD801}));
    }
    std::setlocale(LC_CTYPE, before.c_str());
}

// tests/surface/test_methods.cpp looks up a name of each kind.
TEST(PropertyNames, AreExactAndBelongToTheirKind) {
    using enum EConfigElementKind;
    const std::tuple<EConfigElementKind, XLXTextView, int> Table[] = {
        {Attribute, OLESTR("LXCFG_origin"), 46},
        {Group, OLESTR("LXCFG_parentgroupnumber"), 15},
        {Relation, OLESTR("LXCFPC_pprrelationtype"), 20},
        {PCInfo, OLESTR("LXCFG_pcinfonew"), 6},
        {Type, OLESTR("LXCFG_basetype"), 27},
        // Another name, another kind, and no name at all.
        {Attribute, OLESTR("LXCFG_Attributename"), -1},
        {Attribute, OLESTR("LXCFG_attributename "), -1},
        {Attribute, OLESTR("LXCFG_attributenam"), -1},
        {Group, OLESTR("LXCFG_attributename"), -1},
        {Page, OLESTR(""), -1},
        {Type, XLXTextView(OLESTR("LXCFG_typename\0"), 15), -1},
        {static_cast<EConfigElementKind>(9), OLESTR("LXCFG_typename"), -1},
    };
    for (const auto& [kind, name, index] : Table) {
        EXPECT_EQ(index, XCfgPropertyConvert::Convert(kind, XLXComBSTR(name).Get()))
            << testing::PrintToString(XLXText(name));
    }
    EXPECT_EQ(-1, XCfgPropertyConvert::Convert(Type, nullptr));
}
} // namespace

// SPDX-License-Identifier: MIT
//
// Keys made of names, and the data ids of notifications.
#include "XCFGStringKey.h"
#include "XDataId.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace
{
XLXText Units(std::initializer_list<unsigned> units)
{
    XLXText text;
    for (const unsigned unit : units)
    {
        text.push_back(static_cast<OLECHAR>(unit));
    }
    return text;
}

TEST(StringKey, IsTheNamesUtf8)
{
    const std::pair<XLXText, std::string> Table[] = {
        {{}, ""},
        {OLESTR("Machine_1"), "Machine_1"},
        {Units({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {Units({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80"},
        {Units({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF"},
        {Units({0xD83D}), "\xED\xA0\xBD"},
        {Units({0xDE00, 0xD83D}), "\xED\xB8\x80\xED\xA0\xBD"},
        {Units({0xD83D, 0xD83D, 0xDE00}), "\xED\xA0\xBD\xF0\x9F\x98\x80"},
        {Units({'a', 0, 'b'}), std::string("a\0b", 3)},
    };
    for (const auto& [name, bytes] : Table)
    {
        const XCFGStringKey key(name);
        EXPECT_EQ(bytes, key.Bytes());
        EXPECT_EQ(name, key.Text());
        EXPECT_EQ(name.empty(), key.IsNull());
    }
}

// Every text of up to three of these units: no two share a key, and each comes back.
TEST(StringKey, IsOneToOne)
{
    const XLXText units = Units({0, 'A', 'a', 0xE4, 0x7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF});
    std::vector<XLXText> names{XLXText()};
    for (std::size_t from = 0, length = 0; length < 3; ++length)
    {
        const std::size_t to = names.size();
        for (; from < to; ++from)
        {
            for (const OLECHAR unit : units)
            {
                names.push_back(names[from] + unit);
            }
        }
    }
    std::vector<XCFGStringKey> keys;
    for (const XLXText& name : names)
    {
        keys.emplace_back(name);
        EXPECT_EQ(name, keys.back().Text());
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys.end(), std::adjacent_find(keys.begin(), keys.end()));
    EXPECT_EQ(1u + 11 + 11 * 11 + 11 * 11 * 11, keys.size());
}

TEST(StringKey, SortsByteByByte)
{
    const XLXText inOrder[] = {{},
                               Units({0}),
                               OLESTR("A"),
                               Units({'A', 0}),
                               OLESTR("AB"),
                               OLESTR("B"),
                               OLESTR("a"),
                               Units({0xE4}),
                               Units({0xE000}),
                               Units({0xFFFF}),
                               Units({0xD83D, 0xDE00})}; // past the end of the first plane
    for (std::size_t i = 1; i < std::size(inOrder); ++i)
    {
        EXPECT_LT(XCFGStringKey(inOrder[i - 1]), XCFGStringKey(inOrder[i])) << i;
    }
}

struct DataId
{
    XLXTextView text;
    XLXTextView kindText;
    XLXTextView object;
    LONG subNumber;
    LONG mode;
    bool hasKind;
    bool complete;
    LXDataIdKind kind;
};

TEST(DataId, IsTakenApart)
{
    using enum LXDataIdKind;
    const DataId Table[] = {
        {OLESTR(""), {}, {}, -1, -1, false, false, Other},
        {OLESTR("objects"), OLESTR("objects"), {}, -1, -1, false, false, Objects},
        {OLESTR("objects/"), OLESTR("objects"), {}, -1, -1, true, false, Objects},
        {OLESTR("pc/A"), OLESTR("pc"), {}, -1, -1, true, false, ParentChild},
        {OLESTR("pc/A/7"), OLESTR("pc"), OLESTR("A"), -1, -1, true, false, ParentChild},
        {OLESTR("objects/A/7/512"), OLESTR("objects"), OLESTR("A"), 7, 512, true, true, Objects},
        {OLESTR("properties/A B//"), OLESTR("properties"), OLESTR("A B"), -1, -1, true, true, Properties},
        {OLESTR("searchable///3"), OLESTR("searchable"), {}, -1, 3, true, true, Searchable},
        {OLESTR("objects/A/x/-4"), OLESTR("objects"), OLESTR("A"), 0, -4, true, true, Objects},
        {OLESTR("objects/A/1/2/3"), OLESTR("objects"), OLESTR("A"), 1, 2, true, true, Objects},
        {OLESTR("objects/A/1/99999999999"), OLESTR("objects"), OLESTR("A"), 1, 2147483647, true, true, Objects},
        {OLESTR("///"), {}, {}, -1, -1, true, true, Other},
        {OLESTR("Objects/A/1/2"), OLESTR("Objects"), OLESTR("A"), 1, 2, true, true, Other},
    };
    for (const DataId& expected : Table)
    {
        SCOPED_TRACE(testing::PrintToString(XLXText(expected.text)));
        const XDataId id = XDataId::Parse(expected.text);
        EXPECT_EQ(expected.kindText, id.kindText);
        EXPECT_EQ(expected.object, id.object);
        EXPECT_EQ(expected.subNumber, id.subNumber);
        EXPECT_EQ(expected.mode, id.mode);
        EXPECT_EQ(expected.hasKind, id.hasKind);
        EXPECT_EQ(expected.complete, id.complete);
        EXPECT_EQ(expected.kind, id.kind);
    }
}

TEST(DataId, ModeConcernsItsBitsOrEverything)
{
    EXPECT_TRUE(LXModeConcerns(0, LXUM_PAGES));
    EXPECT_TRUE(LXModeConcerns(-1, LXUM_PAGES));
    EXPECT_TRUE(LXModeConcerns(0x22, LXUM_PAGES | LXUM_GROUPS));
    EXPECT_FALSE(LXModeConcerns(0x12, LXUM_PAGES | LXUM_GROUPS));
}
} // namespace

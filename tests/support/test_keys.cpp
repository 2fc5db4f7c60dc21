// SPDX-License-Identifier: MIT
//
// Keys for names, and the data ids of notifications.
#include "XCFGStringKey.h"
#include "XDataId.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace {
XLXText Units(std::initializer_list<unsigned> units) {
    XLXText text;
    for (const unsigned unit : units) {
        text.push_back(static_cast<OLECHAR>(unit));
    }
    return text;
}

/// The UTF-8 form of a text; lone surrogates take three bytes.
std::string Utf8Of(const XLXText& text) {
    std::string bytes;
    const auto add = [&bytes](unsigned long lead, unsigned long code, int more) {
        bytes.push_back(static_cast<char>(lead | (code >> (6 * more))));
        while (more-- > 0) {
            bytes.push_back(static_cast<char>(0x80 | ((code >> (6 * more)) & 0x3F)));
        }
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned long code = text[at];
        if (code >= 0xD800 && code < 0xDC00 && at + 1 < text.size() && text[at + 1] >= 0xDC00 &&
            text[at + 1] < 0xE000) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (text[++at] & 0x3FFu);
        }
        code < 0x80      ? add(0, code, 0)
        : code < 0x800   ? add(0xC0, code, 1)
        : code < 0x10000 ? add(0xE0, code, 2)
                         : add(0xF0, code, 3);
    }
    return bytes;
}

/// Every text of up to three of these units.
std::vector<XLXText> ManyNames() {
    const XLXText units = Units({0, 'A', 'a', 0xE4, 0x7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF});
    std::vector<XLXText> names{XLXText()};
    for (std::size_t from = 0, length = 0; length < 3; ++length) {
        const std::size_t to = names.size();
        for (; from < to; ++from) {
            for (const OLECHAR unit : units) {
                names.push_back(names[from] + unit);
            }
        }
    }
    return names;
}

// No two names have the same key, and each name can be read back.
TEST(StringKey, IsOneToOne) {
    std::vector<XCFGStringKey> keys;
    for (const XLXText& name : ManyNames()) {
        keys.emplace_back(name);
        EXPECT_EQ(name, keys.back().Text());
        EXPECT_EQ(name.empty(), keys.back().IsNull());
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys.end(), std::adjacent_find(keys.begin(), keys.end()));
    EXPECT_EQ(1u + 11 + 11 * 11 + 11 * 11 * 11, keys.size());
}

TEST(StringKey, ComparesAsTheNamesUtf8) {
    std::vector<std::pair<XLXText, std::string>> names;
    for (const XLXText& name : ManyNames()) {
        names.emplace_back(name, Utf8Of(name));
    }
    std::size_t wrong = 0;
    for (const auto& [name, bytes] : names) {
        const XCFGStringKey key(name);
        for (const auto& [other, otherBytes] : names) {
            const std::strong_ordering expected = bytes.compare(otherBytes) <=> 0;
            const XLXTextView text = other;
            wrong += (key <=> text) != expected || (text <=> key) != (0 <=> expected) ||
                     (key == text) != (bytes == otherBytes);
        }
    }
    EXPECT_EQ(0u, wrong);
}

TEST(StringKey, MapsFindATextThatIsNoKey) {
    XNameMap<int> map;
    map.emplace(XCFGStringKey(OLESTR("Machine")), 1);
    map.emplace(XCFGStringKey(Units({'M', 0})), 2);
    const auto at = [&map](XLXTextView name) {
        const auto found = map.find(name);
        return found != map.end() ? found->second : 0;
    };
    EXPECT_EQ(1, at(OLESTR("Machine")));
    EXPECT_EQ(2, at(Units({'M', 0})));
    EXPECT_EQ(0, at(OLESTR("M")));
}

TEST(StringKey, SortsByCodePoints) {
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
                               Units({0xD83D, 0xDE00})}; // beyond the first plane
    for (std::size_t i = 1; i < std::size(inOrder); ++i) {
        EXPECT_LT(XCFGStringKey(inOrder[i - 1]), XCFGStringKey(inOrder[i])) << i;
    }
}

struct DataId {
    XLXTextView text;
    XLXTextView kindText;
    XLXTextView object;
    LONG subNumber;
    LONG mode;
    bool hasKind;
    bool complete;
    LXDataIdKind kind;
};

TEST(DataId, IsTakenApart) {
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
    for (const DataId& expected : Table) {
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

TEST(DataId, ModeConcernsItsBitsOrEverything) {
    EXPECT_TRUE(LXModeConcerns(0, LXUM_PAGES));
    EXPECT_TRUE(LXModeConcerns(-1, LXUM_PAGES));
    EXPECT_TRUE(LXModeConcerns(0x22, LXUM_PAGES | LXUM_GROUPS));
    EXPECT_FALSE(LXModeConcerns(0x12, LXUM_PAGES | LXUM_GROUPS));
}
} // namespace

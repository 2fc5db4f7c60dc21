// SPDX-License-Identifier: MIT
//
// Keys for names, and the data ids of notifications.
#include "XCFGStringKey.h"
#include "XDataId.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#if defined(__GLIBCXX__) && !defined(NDEBUG) && !defined(_GLIBCXX_ASSERTIONS)
#error "debug and sanitizer builds check the indices of the library's containers"
#endif

namespace {
/// The code points of a text, which compare as its UTF-8 does; lone surrogates are code points of their own.
std::u32string CodePoints(const XLXText& text) {
    std::u32string points;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t point = text[at];
        const char32_t next = at + 1 < text.size() ? text[at + 1] : 0;
        if (point >= 0xD800 && point < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (next & 0x3FF);
            ++at;
        }
        points.push_back(point);
    }
    return points;
}

/// Every text of up to three of these units.
std::vector<XLXText> ManyNames() {
    const XLXText units{0, 'A', 'a', 0xE4, 0x7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
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

// Keys keep their names and differ if their names do. Their order is that of the names' UTF-8, which is by code points.
TEST(StringKey, ComparesAsTheNamesUtf8) {
    struct Named {
        XLXText name;
        std::u32string points;
        XCFGStringKey key;
    };
    std::vector<Named> names;
    for (const XLXText& name : ManyNames()) {
        names.push_back({name, CodePoints(name), XCFGStringKey(name)});
        EXPECT_EQ(name, names.back().key.Text());
        EXPECT_EQ(name.empty(), names.back().key.IsNull());
    }
    std::size_t wrong = 0;
    for (const Named& one : names) {
        for (const Named& other : names) {
            const std::strong_ordering expected = one.points <=> other.points;
            const XLXTextView text = other.name;
            wrong += (one.key <=> text) != expected || (text <=> one.key) != (0 <=> expected) ||
                     (one.key == text) != (expected == 0) || (one.key <=> other.key) != expected;
        }
    }
    EXPECT_EQ(0u, wrong);
}

/// The texts of the kind and of the object, the sub-number, the mode, hasKind, complete, the kind.
using Parts = std::tuple<XLXTextView, XLXTextView, LONG, LONG, bool, bool, LXDataIdKind>;

TEST(DataId, IsParsed) {
    using enum LXDataIdKind;
    const std::pair<XLXTextView, Parts> Table[] = {
        {OLESTR(""), {{}, {}, -1, -1, false, false, Other}},
        {OLESTR("objects"), {OLESTR("objects"), {}, -1, -1, false, false, Objects}},
        {OLESTR("objects/"), {OLESTR("objects"), {}, -1, -1, true, false, Objects}},
        {OLESTR("pc/A"), {OLESTR("pc"), {}, -1, -1, true, false, ParentChild}},
        {OLESTR("pc/A/7"), {OLESTR("pc"), OLESTR("A"), -1, -1, true, false, ParentChild}},
        {OLESTR("objects/A/7/512"), {OLESTR("objects"), OLESTR("A"), 7, 512, true, true, Objects}},
        {OLESTR("properties/A B//"), {OLESTR("properties"), OLESTR("A B"), -1, -1, true, true, Properties}},
        {OLESTR("searchable///3"), {OLESTR("searchable"), {}, -1, 3, true, true, Searchable}},
        {OLESTR("objects/A/x/-4"), {OLESTR("objects"), OLESTR("A"), 0, -4, true, true, Objects}},
        {OLESTR("objects/A/1/2/3"), {OLESTR("objects"), OLESTR("A"), 1, 2, true, true, Objects}},
        {OLESTR("objects/A/1/99999999999"), {OLESTR("objects"), OLESTR("A"), 1, 2147483647, true, true, Objects}},
        {OLESTR("///"), {{}, {}, -1, -1, true, true, Other}},
        {OLESTR("Objects/A/1/2"), {OLESTR("Objects"), OLESTR("A"), 1, 2, true, true, Other}},
    };
    for (const auto& [text, expected] : Table) {
        const XDataId id = XDataId::Parse(text);
        EXPECT_TRUE(expected == Parts(id.kindText, id.object, id.subNumber, id.mode, id.hasKind, id.complete, id.kind))
            << testing::PrintToString(XLXText(text));
    }
}

} // namespace

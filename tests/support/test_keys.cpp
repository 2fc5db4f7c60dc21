// SPDX-License-Identifier: MIT
//
// Keys made of names, and the data ids of notifications.
#include "XCFGStringKey.h"
#include "XDataId.h"

#include <gtest/gtest.h>

#include <vector>

#if defined(__GLIBCXX__) && !defined(NDEBUG) && !defined(_GLIBCXX_ASSERTIONS)
#error "debug and sanitizer builds check the indices of the library's containers"
#endif

namespace {
XLXText Units(std::initializer_list<unsigned> units) {
    XLXText text;
    for (const unsigned unit : units) {
        text.push_back(static_cast<OLECHAR>(unit));
    }
    return text;
}

/// The UTF-8 of a text; a lone surrogate in its three-byte form.
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

// Keys keep their names, no two names share one, and they are ordered as the names' UTF-8, which is by code points.
TEST(StringKey, ComparesAsTheNamesUtf8) {
    struct Named {
        XLXText name;
        std::string bytes;
        XCFGStringKey key;
    };
    std::vector<Named> names;
    for (const XLXText& name : ManyNames()) {
        names.push_back({name, Utf8Of(name), XCFGStringKey(name)});
        EXPECT_EQ(name, names.back().key.Text());
        EXPECT_EQ(name.empty(), names.back().key.IsNull());
    }
    std::size_t wrong = 0;
    for (const Named& one : names) {
        for (const Named& other : names) {
            const std::strong_ordering expected = one.bytes.compare(other.bytes) <=> 0;
            const XLXTextView text = other.name;
            wrong += (one.key <=> text) != expected || (text <=> one.key) != (0 <=> expected) ||
                     (one.key == text) != (expected == 0) || (one.key <=> other.key) != expected;
        }
    }
    EXPECT_EQ(0u, wrong);
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

} // namespace

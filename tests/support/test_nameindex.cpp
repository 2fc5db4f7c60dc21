// SPDX-License-Identifier: MIT
#include "XNameIndex.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <tuple>

#if defined(__GLIBCXX__) && !defined(NDEBUG) && !defined(_GLIBCXX_ASSERTIONS)
#error "debug and sanitizer builds check the indices of the library's containers"
#endif

namespace {
XLXText RandomName(std::mt19937& random, std::size_t longest) {
    // Few characters, including zero, so that many names have common prefixes or are prefixes of each other.
    constexpr OLECHAR Characters[] = {u'a', u'b', u'\0', u'\xFFFF'};
    XLXText name(random() % (longest + 1), u'a');
    for (OLECHAR& character : name) {
        character = Characters[random() % std::size(Characters)];
    }
    return name;
}
} // namespace

TEST(NameIndex, AnswersAsAnOrderedMapDoesWhileItGrows) {
    XNameIndex<int> index;
    std::map<XLXText, int> expected;
    std::mt19937 random(17);
    for (int value = 1; value <= 3000; ++value) {
        const XLXText name = RandomName(random, 9); // shorter and longer than a word of four characters
        index.Set({name}, value);
        expected[name] = value;
        const XLXText other = RandomName(random, 9);
        const int* const found = index.Find({other});
        const auto known = expected.find(other);
        ASSERT_EQ(found != nullptr ? *found : 0, known != expected.end() ? known->second : 0) << value;
    }
    for (const auto& [name, value] : expected) {
        const int* const found = index.Find({name});
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(*found, value);
    }
}

TEST(NameIndex, SeveralNamesAreAKeyTogetherAndNotTheirText) {
    using Key = std::tuple<XLXText, XLXText, XLXText>;
    XNameIndex<int, 3> index;
    std::map<Key, int> expected;
    std::mt19937 random(23);
    const auto names = [](const Key& key) {
        return std::array<XLXTextView, 3>{std::get<0>(key), std::get<1>(key), std::get<2>(key)};
    };
    for (int value = 1; value <= 2000; ++value) {
        const Key key(RandomName(random, 2), RandomName(random, 2), RandomName(random, 2));
        index.Set(names(key), value);
        expected[key] = value;
    }
    for (const auto& [key, value] : expected) {
        const int* const found = index.Find(names(key));
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(*found, value);
    }
}

// A key without characters ends at the end of the texts, and its view may have a null pointer.
TEST(NameIndex, NamesWithoutCharactersStandAtTheEndOfTheTexts) {
    XNameIndex<int, 2> index;
    for (const XLXTextView empty : {XLXTextView(), XLXTextView(OLESTR(""))}) {
        index.Set({OLESTR("Pump"), empty}, 1);
        index.Set({empty, empty}, 2);
        EXPECT_EQ(*index.Find({OLESTR("Pump"), empty}), 1);
        EXPECT_EQ(*index.Find({empty, empty}), 2);
        EXPECT_EQ(index.Find({empty, OLESTR("Pump")}), nullptr);
    }
}

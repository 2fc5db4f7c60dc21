// SPDX-License-Identifier: MIT
#include "XNamedMap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#if defined(__GLIBCXX__) && !defined(NDEBUG) && !defined(_GLIBCXX_ASSERTIONS)
#error "debug and sanitizer builds check the indices of the library's containers"
#endif

namespace {
template <class Map, class Key, class KeyOf> void ExpectAnswersOfAnOrderedMap(KeyOf&& keyOf) {
    std::mt19937 random(29);
    Map map;
    std::map<Key, int> expected;
    EXPECT_TRUE(map.find(keyOf(0)) == map.end());
    for (int round = 0; round < 300; ++round) {
        for (auto left = random() % 6; left > 0; --left) {
            const Key key = keyOf(random() % 60);
            map.Add(key, round);
            expected.insert_or_assign(key, round);
        }
        map.Settle();
        ASSERT_TRUE(std::equal(map.begin(), map.end(), expected.begin(), expected.end(),
                               [](const auto& left, const auto& right) {
                                   return left.first == right.first && left.second == right.second;
                               }))
            << round;
    }
    EXPECT_EQ(map.size(), 60U);
    const Map copy = map;
    for (const auto& [key, value] : expected) {
        const auto found = copy.find(key);
        ASSERT_TRUE(found != copy.end());
        EXPECT_EQ(found->second, value);
    }
}
} // namespace

// Few keys, so that most are added repeatedly, before and after Settle.
TEST(SortedMap, AnswersAsAnOrderedMapDoes) {
    ExpectAnswersOfAnOrderedMap<XSortedMap<std::string, int>, std::string>(
        [](unsigned long number) { return std::to_string(number); });
}

// One of the names is empty; the others have common prefixes.
TEST(NamedMap, AnswersAsAnOrderedMapDoes) {
    ExpectAnswersOfAnOrderedMap<XNamedMap<int>, XCFGStringKey>(
        [](unsigned long number) { return XCFGStringKey(XLXText(number, OLECHAR('a'))); });
}

TEST(NamedMap, FindsTextsOverTheirWholeLength) {
    XNamedMap<int> map;
    map.Add(XCFGStringKey(OLESTR("Flow")), 1);
    map.Add(XCFGStringKey(OLESTR("Flow2")), 2);
    map.Settle();
    EXPECT_EQ(map.find(OLESTR("Flow"))->second, 1);
    EXPECT_EQ(map.find(OLESTR("Flow2"))->second, 2);
    EXPECT_TRUE(map.find(OLESTR("Flo")) == map.end());
    EXPECT_TRUE(map.find(OLESTR("Flow3")) == map.end());
    EXPECT_TRUE(map.find(XLXTextView()) == map.end());
}

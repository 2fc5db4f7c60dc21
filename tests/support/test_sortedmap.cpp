// SPDX-License-Identifier: MIT
#include "XSortedMap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

// Few keys, so that most are added more than once, both before and after they were settled.
TEST(SortedMap, AnswersAsAnOrderedMapDoesWithWhatIsSettled)
{
    std::mt19937 random(29);
    XSortedMap<std::string, int> map;
    std::map<std::string, int> settled;
    for (int round = 0; round < 300; ++round)
    {
        auto added = settled;
        for (auto left = random() % 6; left > 0; --left)
        {
            const std::string key = std::to_string(random() % 60);
            map.Add(key, round);
            added.insert_or_assign(key, round);
            const auto found = map.find(key);
            const auto known = settled.find(key);
            ASSERT_EQ(found != map.end() ? found->second : -1, known != settled.end() ? known->second : -1);
        }
        map.Settle();
        settled.swap(added);
        ASSERT_TRUE(std::equal(map.begin(), map.end(), settled.begin(), settled.end(),
                               [](const auto& left, const auto& right) {
                                   return left.first == right.first && left.second == right.second;
                               }))
            << round;
    }
    EXPECT_EQ(map.size(), 60U);
}

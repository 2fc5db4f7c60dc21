// SPDX-License-Identifier: MIT
//
// The order in which threads get a fill mutex. Re-entry: test_explore_load.cpp.
#include "XFill.h"
#include "synctools.h"

namespace {
TEST(Fill, IsHandedOverInTheOrderOfRequests) {
    XFillMutex mutex;
    const auto take = [&](std::string name, std::string& order) {
        const XFill fill(mutex, &order);
        order += name;
    };
    std::string order;
    XActor first;
    std::future<void> waits;
    {
        const XFill fill(mutex, &mutex);
        waits = first.Start([&] { take("first", order); });
        ASSERT_TRUE(WaitFor([&] { return mutex.HasWaiting(); }));
    }
    take(" second", order); // at once, before the woken thread runs
    ASSERT_TRUE(IsReady(waits));
    EXPECT_EQ(order, "first second");
}
} // namespace

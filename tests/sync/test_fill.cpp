// SPDX-License-Identifier: MIT
//
// Fill mutexes: which thread enters, and in which order.
#include "XFill.h"
#include "synctools.h"

namespace {
TEST(Fill, AdmitsItsOwnThreadAndNoOther) {
    XFillMutex mutex;
    const int holder = 0;
    XActor other;
    std::future<bool> waits;
    {
        const XFill fill(mutex, &holder);
        EXPECT_FALSE(fill.IsReentered());
        EXPECT_TRUE(XFill(mutex, &holder).IsReentered());
        EXPECT_FALSE(XFill(mutex, &waits).IsReentered()) << "another holder of the same mutex";
        waits = other.Start([&] { return XFill(mutex, &holder).IsReentered(); });
        EXPECT_FALSE(IsReady(waits, MustNotHappen));
    }
    ASSERT_TRUE(IsReady(waits));
    EXPECT_FALSE(waits.get());
}

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
        ASSERT_TRUE(Comes([&] { return mutex.HasWaiting(); }));
    }
    take(" second", order); // at once, before the woken thread runs
    ASSERT_TRUE(IsReady(waits));
    EXPECT_EQ(order, "first second");
}
} // namespace

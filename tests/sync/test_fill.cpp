// SPDX-License-Identifier: MIT
//
// Loading: who asks the server, and what a concurrent notification does to the answer.
#include "XLoaded.h"
#include "synctools.h"

#include <stdexcept>

namespace {
constexpr XAspect Aspect = XAspect::PlanTypes;

/// A loaded value, and a server whose value changes.
class Loading {
public:
    Loading() { m_loaded.Begin(time); }

    int Ask() {
        return *m_loaded.Load(time, [this] { return std::make_shared<const int>(m_server.load()); });
    }

    XTime time{XClockPtr(new XClock), Aspect};
    XBasicLoaded<int, XTime> m_loaded;
    std::atomic<int> m_server{1};
};

TEST(Loaded, GivesAnAnswerThatNothingTakesToWhoeverAsked) {
    Loading loading;
    loading.m_loaded.End(loading.time);
    EXPECT_EQ(loading.Ask(), 1);
    EXPECT_FALSE(loading.m_loaded.Held());
    const auto fail = [&] {
        loading.m_loaded.Load(loading.time, []() -> std::shared_ptr<const int> { throw std::runtime_error("fails"); });
    };
    EXPECT_THROW(fail(), std::runtime_error);
    XActor other; // the fill mutex was released
    auto next = other.Start([&] { return loading.Ask(); });
    ASSERT_TRUE(IsReady(next));
    EXPECT_EQ(next.get(), 1);
}

TEST(Fill, LetsItsOwnThreadInAndNoOther) {
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

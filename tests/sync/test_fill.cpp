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
    bool IsFresh() const { return m_loaded.Fresh() != nullptr; }

    XTime time{XClockPtr(new XClock), Aspect};
    XBasicLoaded<int, XTime> m_loaded;
    std::atomic<int> m_server{1};
};

/// A sequence of events. Two threads load: n and N take stamps, s and S publish. i is a notification, o advances the
/// own count, E ends the connection and B begins a new one.
struct Course {
    const char* events;
    int held; ///< the published answer at the end: 1 from n, 2 from N, 0 none
    bool fresh;
};

TEST(Loaded, KeepsTheAnswerThatWasNotedLastAndNeverTakesAnOvertakenOneForFresh) {
    constexpr Course Courses[] = {
        {"", 0, false},     {"ns", 1, true},     {"nsi", 1, false},    {"nis", 1, false}, {"nso", 1, false},
        {"nos", 1, false},  {"nisNS", 2, true},  {"nNsS", 2, true},    {"nNSs", 1, true}, {"niNSs", 2, true},
        {"noNSs", 2, true}, {"nNiSs", 1, false}, {"niNoSs", 2, false}, {"nsE", 0, false}, {"nEs", 0, false},
        {"nEBs", 0, false}, {"nEBNSs", 2, true}, {"nsEB", 0, false},
    };
    for (const Course& course : Courses) {
        Loading loading;
        XStamp stamps[2];
        XTime times[2];
        for (const char* event = course.events; *event != '\0'; ++event) {
            const int who = *event == 'N' || *event == 'S' ? 1 : 0;
            switch (*event) {
            case 'n':
            case 'N':
                times[who] = loading.time;
                stamps[who] = {loading.time.Now(), loading.m_loaded.Own().Now()};
                break;
            case 'i': loading.time.clock->Advance(Aspect); break;
            case 'o': loading.m_loaded.Advance(); break;
            case 'E': loading.m_loaded.End(loading.time); break;
            case 'B':
                loading.time.clock = XClockPtr(new XClock);
                loading.m_loaded.Begin(loading.time);
                break;
            default:
                loading.m_loaded.Publish(times[who], std::make_shared<const int>(who + 1), stamps[who],
                                         [](const int&, const std::shared_ptr<const int>&) {});
            }
        }
        const auto held = loading.m_loaded.Held();
        EXPECT_EQ(held ? *held : 0, course.held) << course.events;
        EXPECT_EQ(loading.IsFresh(), course.fresh) << course.events;
    }
}

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

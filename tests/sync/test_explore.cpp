// SPDX-License-Identifier: MIT
//
// The explorer itself: it tries every interleaving and finds known faults.
#include "explore.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <stdexcept>

namespace {
struct Numbers {
    ExploringSync::Atomic<int> number{0};
    ExploringSync::Atomic<int> other{0};
    ExploringSync::Mutex mutex;
    ExploringSync::Mutex otherMutex;
    std::string order;
};
using Bodies = std::vector<std::function<void(Numbers&)>>;

Explorer::Result Explore(Explorer::Options options, const Bodies& bodies,
                         const std::function<void(Numbers&)>& check = {}) {
    return Explorer(std::move(options)).Run([] { return Numbers(); }, bodies, check);
}

std::function<void(Numbers&)> Writes(char name, int steps) {
    return [name, steps](Numbers& n) {
        for (int i = 0; i < steps; ++i) {
            n.number.store(i);
            n.order += name;
        }
    };
}

TEST(Explorer, TriesEachOrderOnce) {
    struct Case {
        unsigned preemptions;
        Bodies bodies;
        unsigned orders;
    };
    const Case cases[] = {
        {Explorer::Unbounded, {Writes('a', 3)}, 1},
        {Explorer::Unbounded, {Writes('a', 3), Writes('b', 3)}, 20},                 // 6! / (3! 3!)
        {Explorer::Unbounded, {Writes('a', 2), Writes('b', 2), Writes('c', 2)}, 90}, // 6! / (2! 2! 2!)
        {0, {Writes('a', 2), Writes('b', 2), Writes('c', 2)}, 6},                    // 3!
        {1, {Writes('a', 3), Writes('b', 3)}, 6}, // aaabbb, aabbba, abbbaa, and the same with a and b exchanged
    };
    for (const Case& one : cases) {
        std::set<std::string> orders;
        const auto result =
            Explore({.preemptions = one.preemptions}, one.bodies, [&](Numbers& n) { orders.insert(n.order); });
        EXPECT_EQ("", result.failure);
        EXPECT_TRUE(result.complete);
        EXPECT_EQ(one.orders, result.schedules);
        EXPECT_EQ(one.orders, orders.size());
    }
    const auto cut = Explore({.schedules = 5}, cases[1].bodies);
    EXPECT_EQ(5u, cut.schedules);
    EXPECT_FALSE(cut.complete);
}

TEST(Explorer, FindsALostUpdateAndReplaysIt) {
    const auto addOne = [](Numbers& n) {
        const int seen = n.number.load();
        n.number.store(seen + 1);
    };
    const auto check = [](Numbers& n) { Explorer::Expect(n.number == 2, "lost"); };
    EXPECT_EQ("", Explore({.preemptions = 0}, {addOne, addOne}, check).failure);
    const auto result = Explore({.preemptions = 1}, {addOne, addOne}, check);
    EXPECT_EQ("lost", result.failure) << result;
    const auto again = Explore({.replay = result.schedule}, {addOne, addOne}, check);
    EXPECT_EQ("lost", again.failure);
    EXPECT_EQ(1u, again.schedules);
    EXPECT_EQ(result.steps, again.steps);
    EXPECT_EQ("", Explore({}, {[](Numbers& n) { ++n.number; }, [](Numbers& n) { ++n.number; }}, check).failure);
}

TEST(Explorer, FindsADeadlock) {
    const auto inOrder = [](ExploringSync::Mutex& first, ExploringSync::Mutex& second) {
        const std::lock_guard<ExploringSync::Mutex> outer(first);
        const std::lock_guard<ExploringSync::Mutex> inner(second);
    };
    const auto forward = [&](Numbers& n) { inOrder(n.mutex, n.otherMutex); };
    const auto backward = [&](Numbers& n) { inOrder(n.otherMutex, n.mutex); };
    const auto fine = Explore({}, {forward, forward});
    EXPECT_EQ("", fine.failure) << fine;
    EXPECT_EQ("deadlock: nobody can go on", Explore({}, {forward, backward}).failure);
}

// A waiting loop does not multiply the schedules, and a wait for something that never happens is reported.
TEST(Explorer, KnowsWhatAPauseWaitsFor) {
    const auto waitForNumber = [](Numbers& n) {
        while (n.number.load() == 0) {
            ExploringSync::Pause();
        }
    };
    const auto comes = Explore({}, {waitForNumber, [](Numbers& n) {
                                        n.other.store(1);
                                        n.number.store(1);
                                    }});
    EXPECT_EQ("", comes.failure) << comes;
    EXPECT_TRUE(comes.complete);
    EXPECT_GT(comes.schedules, 3u);
    EXPECT_EQ("deadlock: nobody can go on", Explore({}, {waitForNumber, [](Numbers& n) { n.other.store(1); }}).failure);
    EXPECT_EQ("livelock: too many steps", Explore({}, {[](Numbers& n) {
                                                      while (n.number.load() == 0) {}
                                                  }})
                                              .failure);
}

TEST(Explorer, TellsThreadsApart) {
    const auto body = [](Numbers& n) {
        Explorer::Expect(ExploringSync::ThreadPointer() == nullptr, "a pointer of another schedule");
        ExploringSync::ThreadPointer() = &n;
        Explorer::Step("in between");
        Explorer::Expect(ExploringSync::ThreadPointer() == &n, "a pointer of another thread");
        n.number.fetch_or(1 << ExploringSync::ThreadId());
        throw std::runtime_error("of the body");
    };
    const auto harmless = [](Numbers& n) { n.number.fetch_or(1 << ExploringSync::ThreadId()); };
    const auto result =
        Explore({}, {harmless, harmless}, [](Numbers& n) { Explorer::Expect(n.number == 6, "the same id"); });
    EXPECT_EQ("", result.failure) << result;
    EXPECT_EQ("an exception: of the body", Explore({}, {body, body}).failure);
    EXPECT_EQ(0u, ExploringSync::ThreadId());
}
} // namespace

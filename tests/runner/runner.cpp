// SPDX-License-Identifier: MIT
#include "lxtestrunner.h"
#include "threadstates.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {
struct Counter {
    const char* name;
    long (*count)();
};

std::vector<Counter>& Counters() {
    static std::vector<Counter> counters;
    return counters;
}

/// Seconds after which a test counts as hanging.
long WatchdogSeconds() {
    const char* const text = std::getenv("LX_TEST_WATCHDOG");
    return text != nullptr ? std::strtol(text, nullptr, 10) : 120;
}

/// Aborts the process when a test hangs.
class Watchdog : public testing::EmptyTestEventListener {
public:
    static bool HasFired() { return s_fired.load(); }

    Watchdog() { std::thread(Watch).detach(); }

private:
    void OnTestStart(const testing::TestInfo&) override { ++s_tests; }
    void OnTestEnd(const testing::TestInfo&) override { ++s_tests; }

    static void Watch() {
        const long limit = WatchdogSeconds();
        long seen = -1;
        for (long idle = 0; idle < limit; ++idle) {
            std::this_thread::sleep_for(std::chrono::seconds(1));
            if (const long now = s_tests.load(); now != seen) {
                seen = now;
                idle = 0;
            }
        }
        std::fprintf(stderr, "\nWATCHDOG: no test began or ended for %ld s; threads:\n", limit);
        s_fired.store(true); // the dump may interrupt the hanging call; that test must not pass
        LXPrintThreadStates();
        std::fflush(nullptr);
        std::_Exit(LXWatchdogExitCode);
    }

    // Static, because the thread outlives the listener, which the framework deletes.
    static inline std::atomic<long> s_tests{0};
    static inline std::atomic<bool> s_fired{false};
};

bool NothingIsLeftAlive() {
    bool clean = true;
    for (const Counter& counter : Counters()) {
        if (const long left = counter.count(); left != 0) {
            std::fprintf(stderr, "LEAK: %ld %s still alive after all tests\n", left, counter.name);
            clean = false;
        }
    }
    return clean;
}
} // namespace

LXLiveCounter::LXLiveCounter(const char* name, long (*count)()) { Counters().push_back({name, count}); }

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    LXPrepareThreadStates();
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    const int result = RUN_ALL_TESTS();
    if (Watchdog::HasFired()) { return LXWatchdogExitCode; }
    return NothingIsLeftAlive() ? result : 1;
}

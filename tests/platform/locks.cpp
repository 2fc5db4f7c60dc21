// SPDX-License-Identifier: MIT
//
// The slim lock.
#include "contract.h"

#include <chrono>
#include <thread>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

/// Runs the function on that many threads at once.
template <typename F> void OnThreads(int count, F function) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(function);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// The result of a try on another thread.
template <typename F> bool ElsewhereGets(F tryIt) {
    bool got = false;
    OnThreads(1, [&] { got = tryIt(); });
    return got;
}
} // namespace

TEST(SlimLock, WhoGetsItBesideWhom) {
    SRWLOCK lock = SRWLOCK_INIT;
    const auto shared = [&] { return TryAcquireSRWLockShared(&lock) && (ReleaseSRWLockShared(&lock), true); };
    const auto exclusive = [&] { return TryAcquireSRWLockExclusive(&lock) && (ReleaseSRWLockExclusive(&lock), true); };
    EXPECT_TRUE(ElsewhereGets(shared));
    EXPECT_TRUE(ElsewhereGets(exclusive));
    AcquireSRWLockShared(&lock);
    EXPECT_TRUE(ElsewhereGets(shared));
    EXPECT_FALSE(ElsewhereGets(exclusive));
    ReleaseSRWLockShared(&lock);
    AcquireSRWLockExclusive(&lock);
    EXPECT_FALSE(ElsewhereGets(shared));
    EXPECT_FALSE(ElsewhereGets(exclusive));
    ReleaseSRWLockExclusive(&lock);
    EXPECT_TRUE(ElsewhereGets(exclusive));
}

TEST(SlimLock, NoWriteIsLostAndNoReadIsTorn) {
    SRWLOCK lock = SRWLOCK_INIT;
    int first = 0;
    int second = 0;
    std::atomic<int> torn{0};
    OnThreads(4, [&] {
        for (int i = 0; i < 1000; ++i) {
            AcquireSRWLockExclusive(&lock);
            ++first;
            std::this_thread::yield(); // gives the others time to enter, if they can
            ++second;
            ReleaseSRWLockExclusive(&lock);
            AcquireSRWLockShared(&lock);
            const int seen = first;
            std::this_thread::yield();
            torn += seen != second ? 1 : 0;
            ReleaseSRWLockShared(&lock);
        }
    });
    EXPECT_EQ(4000, first);
    EXPECT_EQ(0, torn);
}

TEST(SlimLock, AWriterGetsThroughReadersWithoutPause) {
    SRWLOCK lock = SRWLOCK_INIT;
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::thread readers([&] {
        OnThreads(3, [&] {
            while (!stop) {
                AcquireSRWLockShared(&lock);
                ++reads;
                std::this_thread::sleep_for(std::chrono::milliseconds(1)); // so that they overlap nearly always
                ReleaseSRWLockShared(&lock);
            }
        });
    });
    while (reads < 10) {
        std::this_thread::yield();
    }
    const auto start = Clock::now();
    for (int i = 0; i < 20; ++i) {
        AcquireSRWLockExclusive(&lock);
        ReleaseSRWLockExclusive(&lock);
    }
    const int before = reads;
    while (reads < before + 10) // the readers make progress
    {
        std::this_thread::yield();
    }
    const auto taken = Clock::now() - start;
    stop = true;
    readers.join();
    EXPECT_LT(taken, std::chrono::seconds(5));
}

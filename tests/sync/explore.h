// SPDX-License-Identifier: MIT
//
// A scheduler for tests that tries every interleaving of two or three threads.
//
// The code under test uses the atomics, mutexes and pauses of ExploringSync. Each operation on one of them is a step.
// Before each step the scheduler chooses the thread that continues; only one thread runs at a time. The run is repeated
// depth first until every interleaving has been tried. Memory is sequentially consistent. A preemption switches away
// from a thread that could have continued. Limiting preemptions keeps larger cases small; few faults need more than
// three.
//
//     struct World { ExploringSync::Atomic<int> turns{0}; int writers = 0; };
//     ExpectExplored<World>(
//         3,                                              // the limit of preemptions; Unbounded: none
//         100,                                            // the least number of schedules
//         {[](World& w) { ... }, [](World& w) { ... }},   // the threads
//         [](World& w) { Explorer::Expect(w.writers == 0, "..."); });
//
// The threads are real threads that run in turns, so thread-local state works. The test fails, and prints the steps, at
// the first schedule in which an expectation fails or an exception is raised. A deadlock or too many steps end the
// process.
#ifndef EXPLORE_H
#define EXPLORE_H

#include "LXConfigFactoryCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class Explorer {
public:
    static constexpr unsigned Unbounded = ~0u;
    static constexpr unsigned MaxThreads = 8;

    /// @return the number of schedules
    static std::uint64_t Explore(unsigned preemptions, const std::function<void()>& make,
                                 const std::vector<std::function<void()>>& bodies, const std::function<void()>& check);

    /// An extra step of the calling thread, for example a use of plain data that must not be concurrent.
    static void Step(const char* what) { AtStep(what, nullptr); }
    /// Fails the schedule when holds is false. For bodies and checks.
    static void Expect(bool holds, const char* what);

private:
    friend struct ExploringSync;
    class Schedules;
    struct Thread;
    using CanContinue = bool (*)(const void* object);

    /// Chooses the thread that continues, and returns when that is the calling thread. No effect outside explored
    /// threads.
    /// @param canContinue  whether the operation on the object can proceed now; null: always
    static void AtStep(const char* what, const void* object, CanContinue canContinue = nullptr);
    /// Records a change, which unblocks threads that pause in a loop.
    static void Changed() noexcept;
};

/// The policy of explored code. Outside explored threads its operations are plain and single-threaded.
struct ExploringSync {
    static constexpr unsigned ReaderSlots = 2;
    static constexpr unsigned Spins = 0;

    template <class T> class Atomic {
    public:
        constexpr Atomic() noexcept = default;
        constexpr Atomic(T value) noexcept : m_value(value) {}
        Atomic(const Atomic&) = delete;
        Atomic& operator=(const Atomic&) = delete;

        T load(std::memory_order = std::memory_order_seq_cst) const noexcept {
            Explorer::AtStep("load", this);
            return m_value;
        }
        void store(T value, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("store", this);
            Set(value);
        }
        bool compare_exchange_strong(T& expected, T desired) noexcept {
            Explorer::AtStep("compare_exchange", this);
            if (m_value != expected) {
                expected = m_value;
                return false;
            }
            Set(desired);
            return true;
        }
        /// Never fails spuriously.
        bool compare_exchange_weak(T& expected, T desired) noexcept {
            return compare_exchange_strong(expected, desired);
        }
        T fetch_add(T by, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("fetch_add", this);
            return Set(static_cast<T>(m_value + by));
        }
        T fetch_sub(T by, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("fetch_sub", this);
            return Set(static_cast<T>(m_value - by));
        }
        T fetch_or(T bits, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("fetch_or", this);
            return Set(static_cast<T>(m_value | bits));
        }
        T fetch_and(T bits, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("fetch_and", this);
            return Set(static_cast<T>(m_value & bits));
        }
        operator T() const noexcept { return load(); }

    private:
        T Set(T value) noexcept {
            const T before = m_value;
            if (before != value) {
                m_value = value;
                Explorer::Changed();
            }
            return before;
        }

        T m_value{};
    };

    /// A reader-writer lock; not reentrant and without any fairness.
    class SharedMutex {
    public:
        void lock() noexcept {
            Explorer::AtStep("lock", this,
                             [](const void* mutex) { return static_cast<const SharedMutex*>(mutex)->IsFree(); });
            m_isWritten = true;
            Explorer::Changed();
        }
        bool try_lock() noexcept {
            Explorer::AtStep("try_lock", this);
            if (!IsFree()) { return false; }
            m_isWritten = true;
            Explorer::Changed();
            return true;
        }
        void unlock() noexcept {
            Explorer::AtStep("unlock", this);
            Explorer::Expect(m_isWritten, "a lock is released that is not held");
            m_isWritten = false;
            Explorer::Changed();
        }
        void lock_shared() noexcept {
            Explorer::AtStep("lock_shared", this,
                             [](const void* mutex) { return !static_cast<const SharedMutex*>(mutex)->m_isWritten; });
            ++m_readers;
            Explorer::Changed();
        }
        void unlock_shared() noexcept {
            Explorer::AtStep("unlock_shared", this);
            Explorer::Expect(m_readers > 0, "a shared lock is released that is not held");
            --m_readers;
            Explorer::Changed();
        }
        bool IsFree() const noexcept { return !m_isWritten && m_readers == 0; }

    private:
        bool m_isWritten = false;
        unsigned m_readers = 0;
    };
    using Mutex = SharedMutex;

    /// A condition variable for one waiting thread, without spurious wake-ups.
    class Condition {
    public:
        void Wait(Mutex& lock) noexcept {
            lock.unlock();
            Explorer::AtStep("wait", this,
                             [](const void* condition) { return static_cast<const Condition*>(condition)->m_isWoken; });
            m_isWoken = false;
            lock.lock();
        }
        void WakeOne() noexcept {
            Explorer::AtStep("wake", this);
            m_isWoken = true;
            Explorer::Changed();
        }

    private:
        bool m_isWoken = false;
    };

    /// Numbered from 1 in the order of the bodies; 0 outside explored threads.
    static DWORD ThreadId() noexcept;
    static unsigned ThreadIndex() noexcept { return ThreadId(); }
    /// Null in each thread at the start of each schedule.
    static void*& ThreadPointer() noexcept;
    /// Yields the turn. A thread that pauses again without changes by others is blocked until there is one.
    static void Pause() noexcept;
};

/// Each schedule begins with a new World.
/// @param preemptions  the limit per schedule
/// @param least        the minimum number of schedules; guards against a test that explores nothing
/// @param bodies       the threads
/// @param check        checks the state after all threads have returned
/// @return             the number of schedules
template <class World>
std::uint64_t ExpectExplored(unsigned preemptions, std::uint64_t least,
                             const std::vector<std::function<void(World&)>>& bodies,
                             const std::function<void(World&)>& check = {}) {
#ifdef _WIN32 // switching threads is several times slower there; the code is the same
    preemptions = std::min(preemptions, 1u);
    least = std::min<std::uint64_t>(least, 10);
#endif
    std::unique_ptr<World> world;
    std::vector<std::function<void()>> threads;
    for (const auto& body : bodies) {
        threads.push_back([&world, &body] { body(*world); });
    }
    const auto make = [&] {
        world.reset();
        world = std::make_unique<World>();
    };
    const auto schedules = Explorer::Explore(preemptions, make, threads, [&] {
        if (check) { check(*world); }
    });
    EXPECT_GE(schedules, least);
    return schedules;
}

#endif

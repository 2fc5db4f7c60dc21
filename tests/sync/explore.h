// SPDX-License-Identifier: MIT
//
// A scheduler for tests that tries every order of the steps of two or three threads.
//
// The code under test takes its atomics, mutexes and pauses from ExploringSync. Each operation on one of them is a
// step. Before a step the scheduler decides who goes on, and one thread runs at a time. The run is repeated until
// every order has been tried, depth first. Memory is sequentially consistent. A preemption takes the turn from a
// thread that could have gone on; a bound on their number keeps larger cases small. Few faults need more than three.
//
//     struct World { ExploringSync::Atomic<int> turns{0}; int writers = 0; };
//     const auto result = Explorer({.preemptions = 3}).Run(
//         [] { return World(); },                       // the state before each schedule
//         {[](World& w) { ... }, [](World& w) { ... }}, // the threads
//         [](World& w) { Explorer::Expect(w.writers == 0, "..."); });
//     EXPECT_EQ("", result.failure) << result;
//     EXPECT_GT(result.schedules, 100u); // so that the test cannot explore nothing unnoticed
//
// The threads are real ones that hand the turn to each other, so whatever belongs to a thread works as usual. Run
// ends at the first schedule that fails: an expectation, an exception, nobody can go on, or too many steps. Threads
// that are stuck then stay so; they are detached, and what they run in is kept.
#ifndef EXPLORE_H
#define EXPLORE_H

#include "LXConfigFactoryCache.h"

#include <atomic>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

class Explorer {
public:
    static constexpr unsigned Unbounded = ~0u;
    static constexpr unsigned MostThreads = 8;

    struct Options {
        unsigned preemptions = Unbounded;   ///< in one schedule
        std::uint64_t schedules = ~0ull;    ///< ends after so many
        unsigned steps = 2000;              ///< in one schedule: more are taken for a livelock
        std::string replay = std::string(); ///< the schedule of a failed result, to run it alone
    };

    struct Result {
        std::uint64_t schedules = 0; ///< that were run
        bool complete = false;       ///< no other schedule is left
        std::string failure;         ///< of the last one; empty: none
        std::string schedule;        ///< the thread that went on at each decision of the failed one
        std::string steps;           ///< of the failed one, a line each
    };

    explicit Explorer(Options options) : m_options(std::move(options)) {}

    /// @param make    returns the state of one schedule
    /// @param bodies  what the threads do
    /// @param check   looks at the state when all threads are through
    template <class Make, class World = std::invoke_result_t<Make>>
    Result Run(Make make, const std::vector<std::function<void(std::type_identity_t<World>&)>>& bodies,
               const std::function<void(std::type_identity_t<World>&)>& check = {}) {
        const auto world = std::make_shared<std::unique_ptr<World>>(); // stuck threads keep it
        std::vector<std::function<void()>> threads;
        for (const auto& body : bodies) {
            threads.push_back([world, body] { body(**world); });
        }
        return Explore(
            [&] {
                world->reset();
                world->reset(new World(make()));
            },
            threads,
            [&] {
                if (check) { check(**world); }
            });
    }

    /// A step of the calling thread's own, such as a use of plain data that must not meet another one.
    static void Step(const char* what) { AtStep(what, nullptr); }
    /// Fails the schedule. For bodies and checks.
    static void Expect(bool holds, const char* what);

private:
    friend struct ExploringSync;
    class Schedules;
    struct Thread;
    using CanGo = bool (*)(const void* object);

    Result Explore(const std::function<void()>& make, const std::vector<std::function<void()>>& bodies,
                   const std::function<void()>& check);
    /// Decides who goes on, and returns when the calling thread does. Outside explored threads it does nothing.
    /// @param canGo  whether the operation on the object can be done now; null: always
    static void AtStep(const char* what, const void* object, CanGo canGo = nullptr);
    /// Another thread may wait for a change in a loop with pauses.
    static void Changed() noexcept;

    const Options m_options;
};

std::ostream& operator<<(std::ostream& to, const Explorer::Result& result);

/// The policy of explored code. Outside explored threads its operations are plain ones, of one thread at a time.
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
        T exchange(T value, std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("exchange", this);
            return Set(value);
        }
        bool compare_exchange_strong(T& expected, T desired, std::memory_order = std::memory_order_seq_cst,
                                     std::memory_order = std::memory_order_seq_cst) noexcept {
            Explorer::AtStep("compare_exchange", this);
            if (m_value != expected) {
                expected = m_value;
                return false;
            }
            Set(desired);
            return true;
        }
        /// Never fails for no reason.
        bool compare_exchange_weak(T& expected, T desired, std::memory_order = std::memory_order_seq_cst,
                                   std::memory_order = std::memory_order_seq_cst) noexcept {
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
        T operator=(T value) noexcept {
            store(value);
            return value;
        }
        T operator++() noexcept { return static_cast<T>(fetch_add(1) + 1); }
        T operator++(int) noexcept { return fetch_add(1); }
        T operator--() noexcept { return static_cast<T>(fetch_sub(1) - 1); }
        T operator--(int) noexcept { return fetch_sub(1); }

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

    /// A lock for writing and reading. It is not reentrant, and lets in whoever comes.
    class SharedMutex {
    public:
        void lock() noexcept;
        bool try_lock() noexcept;
        void unlock() noexcept;
        void lock_shared() noexcept;
        void unlock_shared() noexcept;
        bool IsFree() const noexcept { return !m_isWritten && m_readers == 0; }

    private:
        bool m_isWritten = false;
        unsigned m_readers = 0;
    };
    using Mutex = SharedMutex;

    /// From 1 on, in the order of the bodies; 0 outside explored threads.
    static DWORD ThreadId() noexcept;
    static unsigned ThreadIndex() noexcept { return ThreadId(); }
    /// Null in each thread at the start of each schedule.
    static void*& ThreadPointer() noexcept;
    /// Gives the turn away. A thread that pauses again with nothing changed by others in between waits for a change.
    static void Pause() noexcept;
};

#endif

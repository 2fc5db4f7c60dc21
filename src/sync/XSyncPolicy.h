// SPDX-License-Identifier: MIT
//
// The system services that lock-free reads, the clock and the load protocol use. Tests use a policy that stops threads
// at each step, to try every interleaving of small cases.
#ifndef XSYNCPOLICY_H
#define XSYNCPOLICY_H

#include "LXCompiler.h"
#include "XCriticalSectionEx.h"

#include <atomic>

struct XSystemSync {
    static constexpr unsigned ReaderSlots = 64; ///< for threads that read without a lock
    static constexpr unsigned Spins = 200;      ///< checks of a value that another thread changes before pausing

    template <class T> using Atomic = std::atomic<T>;

    using Mutex = XCriticalSectionEx;
    using Condition = XCondition;

    /// The calling thread's index, unique among live threads. Modulo a table's size, it spreads threads over the table.
    static unsigned ThreadIndex() noexcept {
#ifdef _WIN32
        return GetCurrentThreadId() / 4; // thread ids are multiples of 4
#else
        unsigned number = t_number;
        if (number == 0) [[unlikely]] { number = t_number = s_threads.fetch_add(1, std::memory_order_relaxed) + 1; }
        return number;
#endif
    }

    /// One pointer for each thread, initially null. Nothing is destroyed when a thread ends.
    static void*& ThreadPointer() noexcept {
        static thread_local void* t_pointer = nullptr;
        return t_pointer;
    }

    /// Pauses between two checks of a value that another thread changes.
    static void Pause() noexcept { Sleep(1); }

#ifndef _WIN32
private:
    static inline constinit std::atomic<unsigned> s_threads{0}; // threads that got an index so far
    LX_FAST_THREAD_LOCAL static inline constinit thread_local unsigned t_number = 0;
#endif
};

#endif

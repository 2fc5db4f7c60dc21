// SPDX-License-Identifier: MIT
//
// What the lock-free read, the clock and the load protocol take from the system. Tests pass a policy of their own,
// which stops a thread at each step, so that every order of the steps of small cases can be tried.
#ifndef XSYNCPOLICY_H
#define XSYNCPOLICY_H

#include "LXCompiler.h"
#include "XCriticalSectionEx.h"

#include <atomic>

/// The system itself.
struct XSystemSync {
    static constexpr unsigned ReaderSlots = 64; ///< of threads that read without a lock
    static constexpr unsigned Spins = 200;      ///< looks at something that another thread changes, before a pause

    template <class T> using Atomic = std::atomic<T>;

    using Mutex = XCriticalSectionEx;

    /// A number that spreads threads over a table: different for any few threads that live at the same time.
    static unsigned ThreadIndex() noexcept {
#ifdef _WIN32
        return GetCurrentThreadId() / 4; // the numbers are multiples of 4
#else
        unsigned number = t_number;
        if (number == 0) [[unlikely]] { number = t_number = s_threads.fetch_add(1, std::memory_order_relaxed) + 1; }
        return number;
#endif
    }

    /// One pointer for each thread, null at first. Nothing is destroyed when a thread ends.
    static void*& ThreadPointer() noexcept {
        static thread_local void* t_pointer = nullptr;
        return t_pointer;
    }

    /// A pause between two looks at something that another thread changes.
    static void Pause() noexcept { Sleep(1); }

#ifndef _WIN32
private:
    static inline constinit std::atomic<unsigned> s_threads{0}; // that ever had an index
    LX_FAST_THREAD_LOCAL static inline constinit thread_local unsigned t_number = 0;
#endif
};

#endif

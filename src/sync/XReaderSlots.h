// SPDX-License-Identifier: MIT
#ifndef XREADERSLOTS_H
#define XREADERSLOTS_H

#include "LXCompiler.h"
#include "XSyncPolicy.h"

#include <atomic>

/// The slots in which threads publish which lock they read without taking it. There is one table for all locks. Each
/// slot has a cache line of its own, so readers of the same object write to no common line.
///
/// A thread finds its slot by its index. When the slot is taken, by a thread with the same index modulo the table's
/// size or by the thread's own read of another lock, the slot half the table away is tried.
///
/// Entering and checking are sequentially consistent; XLFCritSectionDelegator says why.
template <class Policy = XSystemSync> class XReaderSlots {
public:
    using Slot = typename Policy::template Atomic<const void*>; ///< the lock that is being read; null: none

    /// Publishes that the calling thread reads under this lock. Returns null when neither slot is free.
    static Slot* Enter(const void* lock) noexcept {
        const unsigned own = Policy::ThreadIndex() % Count;
        if (Take(s_lines[own].slot, lock)) [[likely]] { return &s_lines[own].slot; }
        Slot& neighbour = s_lines[(own + Count / 2) % Count].slot;
        return Take(neighbour, lock) ? &neighbour : nullptr;
    }

    static void Leave(Slot& slot) noexcept { slot.store(nullptr, std::memory_order_release); }

    /// Waits for all readers of this lock. Each slot needs to be seen free only once, because the caller has made sure
    /// that readers which enter from now on do not proceed.
    static void WaitForAll(const void* lock) noexcept {
        for (const Line& line : s_lines) {
            for (unsigned look = 0; line.slot.load() == lock; ++look) {
                if (look < Policy::Spins) {
                    LX_CPU_RELAX();
                } else {
                    Policy::Pause();
                }
            }
        }
    }

private:
    static constexpr unsigned Count = Policy::ReaderSlots;
    static_assert(Count % 2 == 0, "a slot is its neighbour's neighbour");

    struct alignas(64) Line {
        Slot slot{nullptr};
    };

    static bool Take(Slot& slot, const void* lock) noexcept {
        const void* free = nullptr;
        return slot.compare_exchange_strong(free, lock);
    }

    static inline constinit Line s_lines[Count] = {};
};

#endif

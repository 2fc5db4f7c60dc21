// SPDX-License-Identifier: MIT
#ifndef XREADERSLOTS_H
#define XREADERSLOTS_H

#include "LXCompiler.h"
#include "XSyncPolicy.h"

#include <atomic>

/// Where threads publish which lock they read without taking it: one table for all locks, a cache line for each
/// thread, so that threads that read the same object write to no line in common.
///
/// Slots are found by the thread's index. Threads whose indices meet share a slot, and so do a thread's own reads of
/// two locks at once: whoever finds the slot taken tries the neighbour, half the table away.
///
/// Entering and looking are sequentially consistent: see XLFCritSectionDelegator for what that is needed for.
template <class Policy = XSystemSync> class XReaderSlots {
public:
    using Slot = typename Policy::template Atomic<const void*>; ///< the lock that is read; null: none

    /// The calling thread reads by that lock from now on. Returns null when there is no free slot.
    static Slot* Enter(const void* lock) noexcept {
        const unsigned own = Policy::ThreadIndex() % Count;
        if (Take(s_lines[own].slot, lock)) [[likely]] { return &s_lines[own].slot; }
        Slot& neighbour = s_lines[(own + Count / 2) % Count].slot;
        return Take(neighbour, lock) ? &neighbour : nullptr;
    }

    static void Leave(Slot& slot) noexcept { slot.store(nullptr, std::memory_order_release); }

    /// Waits for all who read by that lock. One look at each slot suffices for a caller that has seen to it that
    /// nobody who enters from now on stays.
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

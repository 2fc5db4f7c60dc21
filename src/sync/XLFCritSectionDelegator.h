// SPDX-License-Identifier: MIT
#ifndef XLFCRITSECTIONDELEGATOR_H
#define XLFCRITSECTIONDELEGATOR_H

#include "XCountedLock.h"
#include "XReaderSlots.h"

#include <cstdint>

/// Reads without a lock while no writer waits ("LF": lock-free).
///
/// A reader publishes the lock in its thread's slot and then reads the state word. When the word counts no writer, the
/// reader proceeds; its first read after a write also sets the IsRead bit. When there is a writer, or no slot is free,
/// the reader takes the real lock. A writer increments the writer count and takes the real lock. When IsRead is set, it
/// clears the bit and waits until no slot names the lock. No reader proceeds while a writer is counted, so the writer
/// waits only for the readers that are already inside.
///
/// The reader stores its slot and then loads the word; the writer changes the word and then loads the slots. All four
/// operations are sequentially consistent, so at least one of the two sees the other.
///
/// Reads inside the thread's own write take the real lock, as further references to it. Inside the thread's own
/// lock-free read, a write of the same lock deadlocks, and so may a second read; debug builds abort at either.
///
/// @tparam Policy  the operations of the system
template <class Lock, class Policy = XSystemSync> class XLFCritSectionDelegator : public Lock {
public:
    using Slots = XReaderSlots<Policy>;
    using Slot = typename Slots::Slot;
    using Lock::Lock;

    /// Raises what AddLockRef raises; the writer count is restored first.
    void LockWrite() {
        m_state.fetch_add(OneWriter);
        try {
            Lock::AddLockRef();
        } catch (...) {
            m_state.fetch_sub(OneWriter);
            throw;
        }
        // A reader that proceeded did so before this writer was counted, and it has set the bit or found it set. Only
        // writers clear the bit. They hold the lock when they do, and they wait for those readers before they release
        // it.
        if ((m_state.load(std::memory_order_relaxed) & IsRead) != 0) {
            m_state.fetch_and(~IsRead);
            Slots::WaitForAll(Mark());
        }
    }

    /// The data must not be accessed after this call: lock-free readers may enter before the lock itself is released.
    void UnlockWrite() noexcept {
        m_state.fetch_sub(OneWriter, std::memory_order_release);
        Lock::ReleaseLockRef();
    }

    /// Returns the reader's slot, or null when it had to take the real lock.
    Slot* LockLFRead() {
        if (Slot* const slot = Slots::Enter(Mark()); slot != nullptr) [[likely]] {
            if (MayStay()) [[likely]] {
                Lock::Place().Enter(Mark());
                return slot;
            }
            Slots::Leave(*slot);
        }
        Lock::AddReadLockRef();
        return nullptr;
    }

    /// @param slot  the result of LockLFRead
    void UnlockLFRead(Slot* slot) noexcept {
        if (slot != nullptr) {
            Slots::Leave(*slot);
            Lock::Place().Leave(Mark());
        } else {
            Lock::ReleaseLockRef();
        }
    }

private:
    static constexpr std::uint32_t IsRead = 1; ///< a reader may have proceeded since the bit was last cleared
    static constexpr std::uint32_t OneWriter = 2;

    // Identifies the lock-free read in the slots and in the lock order check. Inside it, neither another lock-free read
    // nor a reference to the lock may be taken.
    const void* Mark() const noexcept { return &m_state; }

    // Only the first read after a write modifies the word, so readers share its cache line.
    bool MayStay() noexcept {
        std::uint32_t state = m_state.load();
        if (state == 0) [[unlikely]] { state = m_state.fetch_or(IsRead) | IsRead; }
        return state == IsRead;
    }

    typename Policy::template Atomic<std::uint32_t> m_state{0};
};

#endif

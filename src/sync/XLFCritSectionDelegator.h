// SPDX-License-Identifier: MIT
#ifndef XLFCRITSECTIONDELEGATOR_H
#define XLFCRITSECTIONDELEGATOR_H

#include "XCountedLock.h"
#include "XReaderSlots.h"

#include <cstdint>

/// Lets readers in without a lock while no writer waits ("LF": lock-free).
///
/// A reader enters the lock in its thread's slot and then looks at the lock's word. It stays when no writer is
/// counted there, and leaves a bit in the word that says that somebody has read. Else, or when no slot is free, it
/// takes the real lock. A writer counts itself, takes the real lock and, when the bit is set, clears it and waits
/// until no slot names the lock. Nobody stays beside a counted writer, so it waits only for those inside.
///
/// A reader publishes its slot and then looks at the word; a writer counts itself and then looks at the slots. All
/// four are sequentially consistent, so at least one of the two sees the other.
///
/// Reads inside one's own write go by the real lock, as further references to it. A write or a second read of the
/// same lock inside one's own lock-free read waits for itself; debug builds end the process there.
///
/// @tparam Policy  what is taken from the system
template <class Lock, class Policy = XSystemSync> class XLFCritSectionDelegator : public Lock {
public:
    using Slots = XReaderSlots<Policy>;
    using Slot = typename Slots::Slot;
    using Lock::Lock;

    /// Raises what AddLockRef raises; the writer is then no longer counted.
    void LockWrite() {
        m_state.fetch_add(OneWriter);
        try {
            Lock::AddLockRef();
        } catch (...) {
            m_state.fetch_sub(OneWriter);
            throw;
        }
        // Whoever stayed set the bit, or found it set, before this writer was counted. Only a writer clears it,
        // holding the lock, and it has waited for them before it gives the lock to this one.
        if ((m_state.load(std::memory_order_relaxed) & IsRead) != 0) {
            m_state.fetch_and(~IsRead);
            Slots::WaitForAll(Mark());
        }
    }

    /// The data must not be touched any more: lock-free readers may enter before the lock itself is given back.
    void UnlockWrite() noexcept {
        m_state.fetch_sub(OneWriter, std::memory_order_release);
        Lock::ReleaseLockRef();
    }

    /// Returns the slot that the reader is in, or null when it had to take the real lock.
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

    /// @param slot  what LockLFRead returned
    void UnlockLFRead(Slot* slot) noexcept {
        if (slot != nullptr) {
            Slots::Leave(*slot);
            Lock::Place().Leave(Mark());
        } else {
            Lock::ReleaseLockRef();
        }
    }

private:
    static constexpr std::uint32_t IsRead = 1; ///< somebody may have stayed since the bit was last cleared
    static constexpr std::uint32_t OneWriter = 2;

    // What slots and debug builds know a lock-free read by. Neither another such read nor a reference to the lock may
    // be taken inside it.
    const void* Mark() const noexcept { return &m_state; }

    // The word is only written by the first read after a write, so that readers share its cache line.
    bool MayStay() noexcept {
        std::uint32_t state = m_state.load();
        if (state == 0) [[unlikely]] { state = m_state.fetch_or(IsRead) | IsRead; }
        return state == IsRead;
    }

    typename Policy::template Atomic<std::uint32_t> m_state{0};
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XLFCRITSECTIONDELEGATOR_H
#define XLFCRITSECTIONDELEGATOR_H

#include "XCountedLock.h"

#include <chrono>
#include <cstdint>

/// Lets readers in without a lock while no writer waits ("LF": lock-free).
///
/// One word holds the counts: the writers that have asked for the lock and not given it back, those of them
/// that are inside, and the readers that came in without a lock. A reader counts itself with one addition and
/// learns from what the word was before whether it may stay: with no writer about, or with a writer that
/// waits for readers in any case. Else it takes its count back and waits behind the writer at the real lock.
/// A writer that holds the lock comes inside with a compare-exchange that sees no reader. So a reader that is
/// about to turn back may be counted, and joined by another one while the writer waits, but not while it is
/// inside.
///
/// Joining must not keep a writer out for good: one that has waited for long closes the door, and newcomers
/// then take the real lock.
///
/// @tparam Word  the atomic word; tests have one that stops a thread between two operations
template <class Lock, class Word = std::atomic<std::uint64_t>>
class XLFCritSectionDelegator : public Lock
{
public:
    using Lock::Lock;

    /// Raises what AddLockRef raises; the writer is then no longer counted as pending.
    void LockWrite()
    {
        m_state.fetch_add(OneWriter);
        try
        {
            Lock::AddLockRef();
        }
        catch (...)
        {
            m_state.fetch_sub(OneWriter);
            throw;
        }
        GoInside();
    }

    /// The data must not be touched any more: lock-free readers may enter before the lock itself is given
    /// back.
    void UnlockWrite() noexcept
    {
        m_state.fetch_sub(OneWriter + OneInside, std::memory_order_release);
        Lock::ReleaseLockRef();
    }

    /// Returns true when the real lock had to be taken.
    bool LockLFRead()
    {
        const std::uint64_t before = m_state.fetch_add(OneReader, std::memory_order_acquire);
        if (MayStay(before))
        {
            XLockOrder::Push(Lock::Level(), Mark());
            return false;
        }
        m_state.fetch_sub(OneReader, std::memory_order_relaxed);
        Lock::AddReadLockRef();
        return true;
    }

    void UnlockLFRead(bool realLockTaken) noexcept
    {
        if (realLockTaken)
        {
            Lock::ReleaseLockRef();
        }
        else
        {
            m_state.fetch_sub(OneReader, std::memory_order_release);
            XLockOrder::Pop(Lock::Level(), Mark());
        }
    }

private:
    // From the lowest bit: 22 bits of writers, 20 of writers inside (one thread's nested ones), 21 of
    // readers.
    static constexpr std::uint64_t OneWriter = 1;
    static constexpr std::uint64_t OneInside = std::uint64_t{1} << 22;
    static constexpr std::uint64_t OneReader = std::uint64_t{1} << 42;
    static constexpr std::uint64_t DoorClosed = std::uint64_t{1} << 63;
    static constexpr std::uint64_t ReaderBits = DoorClosed - OneReader;
    static constexpr std::uint64_t InsideBits = OneReader - OneInside;
    static constexpr unsigned Spins = 200;
    // By the clock: a poll of one millisecond takes fifteen where the system's timer is that coarse.
    static constexpr std::chrono::milliseconds PatienceOfWriter{20};

    static bool HasReaders(std::uint64_t state) noexcept { return (state & ReaderBits) != 0; }
    static bool HasWriterInside(std::uint64_t state) noexcept { return (state & InsideBits) != 0; }
    static bool MayStay(std::uint64_t before) noexcept
    {
        return (before & ~ReaderBits) == 0 ||
               (HasReaders(before) && !HasWriterInside(before) && (before & DoorClosed) == 0);
    }
    // Debug builds know a lock-free read by this address. Neither another such read nor a reference to the
    // lock may be taken inside it.
    const void* Mark() const noexcept { return &m_state; }

    // Only a writer that holds the lock comes here, so there is one at a time; it may be inside already, with
    // an outer write.
    bool TryGoInside() noexcept
    {
        std::uint64_t state = m_state.load(std::memory_order_relaxed);
        while (!HasReaders(state))
        {
            // The door need not stay closed: a writer inside keeps the others out.
            if (m_state.compare_exchange_weak(state, (state & ~DoorClosed) + OneInside,
                                              std::memory_order_acquire, std::memory_order_relaxed))
            {
                return true;
            }
        }
        return false;
    }

    void GoInside() noexcept
    {
        for (unsigned spin = 0; spin < Spins; ++spin)
        {
            if (TryGoInside())
            {
                return;
            }
            LX_CPU_RELAX();
        }
        using Clock = std::chrono::steady_clock;
        const Clock::time_point patienceEnds = Clock::now() + PatienceOfWriter;
        bool closed = false;
        while (!TryGoInside())
        {
            if (!closed && Clock::now() >= patienceEnds)
            {
                m_state.fetch_or(DoorClosed);
                closed = true;
            }
            Sleep(1);
        }
    }

    Word m_state{0};
};

#endif

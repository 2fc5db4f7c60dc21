// SPDX-License-Identifier: MIT
#ifndef XLFCRITSECTIONDELEGATOR_H
#define XLFCRITSECTIONDELEGATOR_H

#include "XCountedLock.h"

#include <chrono>
#include <cstdint>

/// Lets readers in without a lock while no writer waits ("LF": lock-free).
///
/// One word holds both counts: how many writers have asked for the lock and not given it back, and how many
/// readers are inside without a lock. A reader enters with one compare-exchange that sees both: when no
/// writer is pending, or when another reader is truly inside, so that the writer waits in any case. Else it
/// takes the real lock and waits behind the writer. Nothing is ever counted that is not true, so nobody joins
/// a reader that is about to turn back.
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
        WaitForReaders();
    }

    /// The data must not be touched any more: lock-free readers may enter before the lock itself is given
    /// back.
    void UnlockWrite() noexcept
    {
        m_state.fetch_sub(OneWriter, std::memory_order_release);
        Lock::ReleaseLockRef();
    }

    /// Returns true when the real lock had to be taken.
    bool LockLFRead()
    {
        // The first try guesses that nobody is inside: reading the word before it would fetch the word twice
        // from a processor that was in it last. The exchange tells the truth when the guess is wrong.
        std::uint64_t state = 0;
        do
        {
            if (m_state.compare_exchange_weak(state, state + OneReader, std::memory_order_acquire,
                                              std::memory_order_relaxed))
            {
                XLockOrder::Push(Lock::Level(), Mark());
                return false;
            }
        } while (MayEnter(state));
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
    static constexpr std::uint64_t OneWriter = 1;
    static constexpr std::uint64_t OneReader = std::uint64_t{1} << 32;
    static constexpr std::uint64_t DoorClosed = std::uint64_t{1} << 63;
    static constexpr std::uint32_t ReaderMask = 0x7FFFFFFF;
    static constexpr unsigned Spins = 200;
    // By the clock: a poll of one millisecond takes fifteen where the system's timer is that coarse.
    static constexpr std::chrono::milliseconds PatienceOfWriter{20};

    static std::uint32_t Writers(std::uint64_t state) noexcept { return static_cast<std::uint32_t>(state); }
    static std::uint32_t Readers(std::uint64_t state) noexcept
    {
        return static_cast<std::uint32_t>(state >> 32) & ReaderMask;
    }
    static bool MayEnter(std::uint64_t state) noexcept
    {
        return (Writers(state) == 0 || Readers(state) != 0) && (state & DoorClosed) == 0;
    }
    // Debug builds know a lock-free read by this address. Neither another such read nor a reference to the
    // lock may be taken inside it.
    const void* Mark() const noexcept { return &m_state; }

    bool ReadersAreGone() const noexcept { return Readers(m_state.load(std::memory_order_acquire)) == 0; }

    // Only the writer that holds the lock comes here, so there is one at a time.
    void WaitForReaders() noexcept
    {
        for (unsigned spin = 0; spin < Spins; ++spin)
        {
            if (ReadersAreGone())
            {
                return;
            }
            LX_CPU_RELAX();
        }
        using Clock = std::chrono::steady_clock;
        const Clock::time_point patienceEnds = Clock::now() + PatienceOfWriter;
        bool closed = false;
        while (!ReadersAreGone())
        {
            if (!closed && Clock::now() >= patienceEnds)
            {
                m_state.fetch_or(DoorClosed);
                closed = true;
            }
            Sleep(1);
        }
        if (closed)
        {
            // A pending writer and no reader inside keep the others out from here on.
            m_state.fetch_and(~DoorClosed);
        }
    }

    Word m_state{0};
};

#endif

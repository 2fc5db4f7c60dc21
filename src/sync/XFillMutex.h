// SPDX-License-Identifier: MIT
#ifndef XFILLMUTEX_H
#define XFILLMUTEX_H

#include "LXConfigFactoryCache.h"
#include "XLockOrder.h"

#include <atomic>

/// Held by whoever fills something, across calls to the server; never taken by notifications.
class XFillMutex
{
public:
    explicit XFillMutex(XLockLevel level) noexcept : m_level(level) {}
    XFillMutex(const XFillMutex&) = delete;
    XFillMutex& operator=(const XFillMutex&) = delete;

private:
    friend class XFillGuard;

    const XLockLevel m_level;
    SRWLOCK m_lock = SRWLOCK_INIT;
    std::atomic<DWORD> m_owner{0}; // thread id of who fills
};

/// Holds a fill mutex. A thread that enters a fill which it is running itself - the server called back - is
/// let in and told so: it takes what is there.
class XFillGuard
{
public:
    /// Also for a thread that may be inside another fill already and so out of order. There it does not wait:
    /// when the mutex is not free, it is let in as if it had it.
    struct NoWaitInsideFills
    {};

    explicit XFillGuard(XFillMutex& mutex) noexcept : m_mutex(mutex), m_reentered(IsOwnedHere())
    {
        if (!m_reentered)
        {
            Wait();
        }
    }
    XFillGuard(XFillMutex& mutex, NoWaitInsideFills) noexcept : m_mutex(mutex), m_reentered(IsOwnedHere())
    {
        if (m_reentered)
        {
            return;
        }
        if (t_fills == 0)
        {
            Wait();
            return;
        }
        m_reentered = !TryAcquireSRWLockExclusive(&mutex.m_lock);
        if (!m_reentered)
        {
            Enter();
        }
    }
    XFillGuard(const XFillGuard&) = delete;
    XFillGuard& operator=(const XFillGuard&) = delete;
    ~XFillGuard()
    {
        if (!m_reentered)
        {
            --t_fills;
            m_mutex.m_owner.store(0, std::memory_order_relaxed);
            ReleaseSRWLockExclusive(&m_mutex.m_lock);
            if (m_ordered)
            {
                XLockOrder::Pop(m_mutex.m_level, &m_mutex);
            }
        }
    }

    bool Reentered() const noexcept { return m_reentered; }

private:
    bool IsOwnedHere() const noexcept
    {
        return m_mutex.m_owner.load(std::memory_order_relaxed) == GetCurrentThreadId();
    }
    void Wait() noexcept
    {
        m_ordered = true;
        XLockOrder::Push(m_mutex.m_level, &m_mutex);
        AcquireSRWLockExclusive(&m_mutex.m_lock);
        Enter();
    }
    void Enter() noexcept
    {
        m_mutex.m_owner.store(GetCurrentThreadId(), std::memory_order_relaxed);
        ++t_fills;
    }

    static inline thread_local unsigned t_fills = 0; // fill mutexes that this thread has

    XFillMutex& m_mutex;
    bool m_reentered;
    bool m_ordered = false; // taken in the lock order
};

#endif

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
    explicit XFillGuard(XFillMutex& mutex) noexcept
        : m_mutex(mutex), m_reentered(mutex.m_owner.load(std::memory_order_relaxed) == GetCurrentThreadId())
    {
        if (!m_reentered)
        {
            XLockOrder::Push(mutex.m_level, &mutex);
            AcquireSRWLockExclusive(&mutex.m_lock);
            mutex.m_owner.store(GetCurrentThreadId(), std::memory_order_relaxed);
        }
    }
    XFillGuard(const XFillGuard&) = delete;
    XFillGuard& operator=(const XFillGuard&) = delete;
    ~XFillGuard()
    {
        if (!m_reentered)
        {
            m_mutex.m_owner.store(0, std::memory_order_relaxed);
            ReleaseSRWLockExclusive(&m_mutex.m_lock);
            XLockOrder::Pop(m_mutex.m_level, &m_mutex);
        }
    }

    bool Reentered() const noexcept { return m_reentered; }

private:
    XFillMutex& m_mutex;
    const bool m_reentered;
};

#endif

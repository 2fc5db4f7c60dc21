// SPDX-License-Identifier: MIT
#ifndef XLEAFMUTEX_H
#define XLEAFMUTEX_H

#include "LXConfigFactoryCache.h"
#include "XLockOrder.h"

/// A small mutex for a few words of state; not reentrant. For std::lock_guard.
class XLeafMutex
{
public:
    XLeafMutex() noexcept = default;
    XLeafMutex(const XLeafMutex&) = delete;
    XLeafMutex& operator=(const XLeafMutex&) = delete;

    void lock() noexcept
    {
        XLockOrder::Push(XLockLevel::Leaf, this);
        AcquireSRWLockExclusive(&m_lock);
    }
    void unlock() noexcept
    {
        ReleaseSRWLockExclusive(&m_lock);
        XLockOrder::Pop(XLockLevel::Leaf, this);
    }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

#endif

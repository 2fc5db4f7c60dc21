// SPDX-License-Identifier: MIT
#ifndef XLEAFMUTEX_H
#define XLEAFMUTEX_H

#include "LXConfigFactoryCache.h"
#include "XLockOrder.h"

/// A small mutex for a few words of state; not reentrant. For std::lock_guard.
class XLeafMutex
{
public:
    /// @param level  where it stands in the lock order
    explicit XLeafMutex([[maybe_unused]] XLockLevel level = XLockLevel::Leaf) noexcept
#ifndef NDEBUG
        : m_level(level)
#endif
    {}
    XLeafMutex(const XLeafMutex&) = delete;
    XLeafMutex& operator=(const XLeafMutex&) = delete;

    void lock() noexcept
    {
        XLockOrder::Push(Level(), this);
        AcquireSRWLockExclusive(&m_lock);
    }
    void unlock() noexcept
    {
        ReleaseSRWLockExclusive(&m_lock);
        XLockOrder::Pop(Level(), this);
    }

private:
#ifndef NDEBUG
    XLockLevel Level() const noexcept
    {
        return m_level;
    }
    const XLockLevel m_level;
#else
    static constexpr XLockLevel Level() noexcept
    {
        return XLockLevel::Leaf;
    }
#endif
    SRWLOCK m_lock = SRWLOCK_INIT;
};

#endif

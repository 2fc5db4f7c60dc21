// SPDX-License-Identifier: MIT
#ifndef XCRITLONG_H
#define XCRITLONG_H

#include "LXConfigFactoryCache.h"

/// A long with a lock of its own, held around each use.
class XCritLong
{
public:
    void Lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
    void Unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }
    XCritLong& operator=(LONG value) noexcept
    {
        m_value = value;
        return *this;
    }
    operator LONG() const noexcept { return m_value; }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
    LONG m_value = 0; // guarded by m_lock
};

#endif

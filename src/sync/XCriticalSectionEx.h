// SPDX-License-Identifier: MIT
#ifndef XCRITICALSECTIONEX_H
#define XCRITICALSECTIONEX_H

#include "LXConfigFactoryCache.h"

/// The platform's slim reader-writer lock; not reentrant.
class XCriticalSectionEx {
public:
    XCriticalSectionEx() noexcept = default;
    XCriticalSectionEx(const XCriticalSectionEx&) = delete;
    XCriticalSectionEx& operator=(const XCriticalSectionEx&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
    bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&m_lock) != 0; }
    void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }
    void lock_shared() noexcept { AcquireSRWLockShared(&m_lock); }
    void unlock_shared() noexcept { ReleaseSRWLockShared(&m_lock); }

protected:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XCRITICALSECTIONEX_H
#define XCRITICALSECTIONEX_H

#include "LXConfigFactoryCache.h"

/// A read/write lock over the platform's slim lock. It is not reentrant.
class XCriticalSectionEx {
public:
    XCriticalSectionEx() noexcept = default;
    XCriticalSectionEx(const XCriticalSectionEx&) = delete;
    XCriticalSectionEx& operator=(const XCriticalSectionEx&) = delete;

    /// @param shared  true: several threads may hold the lock in this mode; false: one thread alone
    void LockEx(bool shared) noexcept {
        if (shared) {
            AcquireSRWLockShared(&m_lock);
        } else {
            AcquireSRWLockExclusive(&m_lock);
        }
    }
    void UnlockEx(bool shared) noexcept {
        if (shared) {
            ReleaseSRWLockShared(&m_lock);
        } else {
            ReleaseSRWLockExclusive(&m_lock);
        }
    }

protected:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

#endif

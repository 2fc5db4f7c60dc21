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
    friend class XCondition;

    SRWLOCK m_lock = SRWLOCK_INIT;
};

/// The platform's condition variable.
class XCondition {
public:
    XCondition() noexcept = default;
    XCondition(const XCondition&) = delete;
    XCondition& operator=(const XCondition&) = delete;

    /// Releases the lock, which is held exclusively, until a wake-up. Wake-ups can be spurious.
    void Wait(XCriticalSectionEx& lock) noexcept { SleepConditionVariableSRW(&m_condition, &lock.m_lock, INFINITE, 0); }
    void WakeOne() noexcept { WakeConditionVariable(&m_condition); }

private:
    CONDITION_VARIABLE m_condition = CONDITION_VARIABLE_INIT;
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XLEAFMUTEX_H
#define XLEAFMUTEX_H

#include "LXConfigFactoryCache.h"
#include "XLockOrder.h"

/// A small mutex for a few words of state; not reentrant. For std::lock_guard.
class XLeafMutex {
public:
    explicit XLeafMutex(XLockLevel level = XLockLevel::Leaf) noexcept : m_place(level) {}
    XLeafMutex(const XLeafMutex&) = delete;
    XLeafMutex& operator=(const XLeafMutex&) = delete;

    void lock() noexcept {
        m_place.Enter(this);
        AcquireSRWLockExclusive(&m_lock);
    }
    void unlock() noexcept {
        ReleaseSRWLockExclusive(&m_lock);
        m_place.Leave(this);
    }

private:
    [[no_unique_address]] XLockPlace m_place;
    SRWLOCK m_lock = SRWLOCK_INIT;
};

#endif

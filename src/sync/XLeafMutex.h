// SPDX-License-Identifier: MIT
#ifndef XLEAFMUTEX_H
#define XLEAFMUTEX_H

#include "LXCompiler.h"
#include "XCriticalSectionEx.h"
#include "XLockOrder.h"

/// A small, non-reentrant mutex for a few words of state, which are marked LX_GUARDED_BY. Lock it with XLeafLock.
class LX_MUTEX XLeafMutex {
public:
    explicit XLeafMutex(XLockLevel level = XLockLevel::Leaf) noexcept : m_place(level) {}

    void lock() noexcept LX_LOCKS() {
        m_place.Enter(this);
        m_lock.lock();
    }
    void unlock() noexcept LX_UNLOCKS() {
        m_lock.unlock();
        m_place.Leave(this);
    }

private:
    [[no_unique_address]] XLockPlace m_place;
    XCriticalSectionEx m_lock;
};

/// Holds a leaf mutex for a scope.
class LX_MUTEX_SCOPE XLeafLock {
public:
    explicit XLeafLock(XLeafMutex& mutex) noexcept LX_LOCKS(mutex) : m_mutex(mutex) { mutex.lock(); }
    XLeafLock(const XLeafLock&) = delete;
    ~XLeafLock() LX_UNLOCKS() { m_mutex.unlock(); }

private:
    XLeafMutex& m_mutex;
};

#endif

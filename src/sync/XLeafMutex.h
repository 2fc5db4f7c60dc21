// SPDX-License-Identifier: MIT
#ifndef XLEAFMUTEX_H
#define XLEAFMUTEX_H

#include "XCriticalSectionEx.h"
#include "XLockOrder.h"

/// A small, non-reentrant mutex for a few words of state. Use it with std::lock_guard.
class XLeafMutex {
public:
    explicit XLeafMutex(XLockLevel level = XLockLevel::Leaf) noexcept : m_place(level) {}

    void lock() noexcept {
        m_place.Enter(this);
        m_lock.lock();
    }
    void unlock() noexcept {
        m_lock.unlock();
        m_place.Leave(this);
    }

private:
    [[no_unique_address]] XLockPlace m_place;
    XCriticalSectionEx m_lock;
};

#endif

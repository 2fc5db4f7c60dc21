// SPDX-License-Identifier: MIT
#ifndef XCRITDATA_H
#define XCRITDATA_H

#include "XLFCritSectionDelegator.h"

#include <utility>

/// The lock of guarded data.
using XCritDelegator = XLFCritSectionDelegator<XBasicRefCountCritSection<>>;

#ifdef NDEBUG
static_assert(sizeof(XCritDelegator) <= 48, "every cached object carries one");
#endif

template <class T>
class XCritProxy;

/// A datum with its lock, reached only through the proxies below, which hold the lock while they live.
template <class T>
class XCritDataCFC {
public:
    /// @param level      the lock's place in the lock order
    /// @param arguments  of the datum's constructor
    template <class... Arguments>
    explicit XCritDataCFC(XLockLevel level, Arguments&&... arguments)
        : m_value(std::forward<Arguments>(arguments)...), m_delegator(level) {}

private:
    template <class>
    friend class XCritProxyData;

    T m_value;
    XCritDelegator m_delegator;
};

template <class T>
class XCritProxyData {
public:
    XCritProxyData(const XCritProxyData&) = delete;
    XCritProxyData& operator=(const XCritProxyData&) = delete;

protected:
    explicit XCritProxyData(XCritDataCFC<T>& data) noexcept : m_value(data.m_value), m_delegator(data.m_delegator) {}
    ~XCritProxyData() = default;

    T& m_value;
    XCritDelegator& m_delegator;
};

/// Exclusive access.
template <class T>
class XCritProxy : private XCritProxyData<T> {
public:
    explicit XCritProxy(XCritDataCFC<T>& data) : XCritProxyData<T>(data) { this->m_delegator.LockWrite(); }
    ~XCritProxy() { this->m_delegator.UnlockWrite(); }
    T* operator->() const noexcept { return &this->m_value; }
    T& operator*() const noexcept { return this->m_value; }
};

/// Shared access under the lock.
template <class T>
class XCritReadProxy : private XCritProxyData<T> {
public:
    explicit XCritReadProxy(XCritDataCFC<T>& data) : XCritProxyData<T>(data) { this->m_delegator.AddReadLockRef(); }
    ~XCritReadProxy() { this->m_delegator.ReleaseLockRef(); }
    const T* operator->() const noexcept { return &this->m_value; }
    const T& operator*() const noexcept { return this->m_value; }
};

/// Shared access without a lock while no writer waits. Short: a writer waits for it, nothing foreign is called, and
/// the same datum is not touched again while it lives.
template <class T>
class XCritLFReadProxy : private XCritProxyData<T> {
public:
    explicit XCritLFReadProxy(XCritDataCFC<T>& data)
        : XCritProxyData<T>(data), m_slot(this->m_delegator.LockLFRead()) {}
    ~XCritLFReadProxy() { this->m_delegator.UnlockLFRead(m_slot); }
    const T* operator->() const noexcept { return &this->m_value; }
    const T& operator*() const noexcept { return this->m_value; }

private:
    XCritDelegator::Slot* const m_slot;
};

#endif

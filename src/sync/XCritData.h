// SPDX-License-Identifier: MIT
#ifndef XCRITDATA_H
#define XCRITDATA_H

#include "XLFCritSectionDelegator.h"

#include <utility>

using XCritDelegator = XLFCritSectionDelegator<XBasicRefCountCritSection<>>;

#ifdef NDEBUG
static_assert(sizeof(XCritDelegator) <= 48, "every cached object carries one");
#endif

/// Data with its lock. It is reached only through the proxies below, which hold the lock for their lifetime.
template <class T> class XCritDataCFC {
public:
    /// @param level      the lock's place in the lock order
    /// @param arguments  for the data's constructor
    template <class... Arguments>
    explicit XCritDataCFC(XLockLevel level, Arguments&&... arguments)
        : m_value(std::forward<Arguments>(arguments)...), m_delegator(level) {}

private:
    template <class, class> friend class XCritAccess;

    T m_value;
    mutable XCritDelegator m_delegator;
};

/// The common part of the proxies.
/// @tparam T     the data; const for reading
/// @tparam Data  its XCritDataCFC; const for reading
template <class T, class Data> class XCritAccess {
public:
    XCritAccess(const XCritAccess&) = delete;
    T* operator->() const noexcept { return &m_value; }
    T& operator*() const noexcept { return m_value; }

protected:
    explicit XCritAccess(Data& data) noexcept : m_value(data.m_value), m_delegator(data.m_delegator) {}
    ~XCritAccess() = default;

    T& m_value;
    XCritDelegator& m_delegator;
};

/// Exclusive access.
template <class T> class XCritProxy : public XCritAccess<T, XCritDataCFC<T>> {
public:
    explicit XCritProxy(XCritDataCFC<T>& data) : XCritProxy::XCritAccess(data) { this->m_delegator.LockWrite(); }
    ~XCritProxy() { this->m_delegator.UnlockWrite(); }
};

/// Shared access that takes the lock.
template <class T> class XCritReadProxy : public XCritAccess<const T, const XCritDataCFC<T>> {
public:
    explicit XCritReadProxy(const XCritDataCFC<T>& data) : XCritReadProxy::XCritAccess(data) {
        this->m_delegator.AddReadLockRef();
    }
    ~XCritReadProxy() { this->m_delegator.ReleaseLockRef(); }
};

/// Shared access that takes no lock while no writer waits. Keep it short, because a writer waits for it. Call nothing
/// foreign and do not access the same data again while it lives.
template <class T> class XCritLFReadProxy : public XCritAccess<const T, const XCritDataCFC<T>> {
public:
    explicit XCritLFReadProxy(const XCritDataCFC<T>& data)
        : XCritLFReadProxy::XCritAccess(data), m_slot(this->m_delegator.LockLFRead()) {}
    ~XCritLFReadProxy() { this->m_delegator.UnlockLFRead(m_slot); }

private:
    XCritDelegator::Slot* const m_slot;
};

#endif

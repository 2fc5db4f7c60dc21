// SPDX-License-Identifier: MIT
#ifndef XSMARTCRITSECTION_H
#define XSMARTCRITSECTION_H

/// A scoped guard over a counted lock, with a flag that says whether to lock at all.
template <class L>
class XSmartCritSection
{
public:
    XSmartCritSection(L* lock, bool take) : m_lock(take ? lock : nullptr)
    {
        if (m_lock != nullptr)
        {
            m_lock->AddLockRef();
        }
    }
    XSmartCritSection(const XSmartCritSection&) = delete;
    XSmartCritSection& operator=(const XSmartCritSection&) = delete;
    ~XSmartCritSection()
    {
        if (m_lock != nullptr)
        {
            m_lock->ReleaseLockRef();
        }
    }

private:
    L* const m_lock;
};

/// The same for reading.
template <class L>
class XSmartReadCritSection
{
public:
    XSmartReadCritSection(L* lock, bool take) : m_lock(take ? lock : nullptr)
    {
        if (m_lock != nullptr)
        {
            m_lock->AddReadLockRef();
        }
    }
    XSmartReadCritSection(const XSmartReadCritSection&) = delete;
    XSmartReadCritSection& operator=(const XSmartReadCritSection&) = delete;
    ~XSmartReadCritSection()
    {
        if (m_lock != nullptr)
        {
            m_lock->ReleaseLockRef();
        }
    }

private:
    L* const m_lock;
};

#endif

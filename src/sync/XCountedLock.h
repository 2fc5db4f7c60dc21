// SPDX-License-Identifier: MIT
#ifndef XCOUNTEDLOCK_H
#define XCOUNTEDLOCK_H

#include "XCriticalSectionEx.h"
#include "XLXError.h"
#include "XLeafMutex.h"
#include "XLockSwitch.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

/// Calls the underlying lock only while the process-wide switch is on. Both say whether the lock was really
/// called.
struct XCritSectionTraitsCFC
{
    using Lockable = XCriticalSectionEx;
    static constexpr unsigned InlineSlots = 2;
    static bool Lock(XCriticalSectionEx& lock, bool shared)
    {
        const bool on = XLockSwitch::IsOn();
        if (on)
        {
            lock.LockEx(shared);
        }
        return on;
    }
};

/// Always calls the underlying lock.
template <class L>
struct XCritSectionTraits
{
    using Lockable = L;
    static constexpr unsigned InlineSlots = 2;
    static bool Lock(L& lock, bool shared)
    {
        lock.LockEx(shared);
        return true;
    }
};

/// One thread's references to a lock.
struct ThreadLockEntry
{
    std::atomic<DWORD> thread{0}; ///< 0: free. All other fields belong to this thread alone.
    LONG count = 0;               ///< read and write references together
    bool isRead = false;          ///< the first reference was a read reference
    bool locked = false;          ///< the underlying lock was really called
};

/// The entries of the threads that hold a lock. The first few threads find room in the object itself; more go
/// to a map behind a small mutex.
template <unsigned InlineSlots>
class XThreadTable
{
public:
    /// The calling thread's entry; made when there is none.
    ThreadLockEntry& FindOrMake()
    {
        const DWORD self = GetCurrentThreadId();
        if (ThreadLockEntry* const entry = FindFor(self); entry != nullptr)
        {
            return *entry;
        }
        for (ThreadLockEntry& slot : m_slots)
        {
            DWORD free = 0;
            if (slot.thread.load(std::memory_order_relaxed) == 0 &&
                slot.thread.compare_exchange_strong(free, self, std::memory_order_acquire))
            {
                return slot;
            }
        }
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        if (m_more == nullptr)
        {
            m_more = std::make_unique<std::map<DWORD, ThreadLockEntry>>();
        }
        ThreadLockEntry& entry = (*m_more)[self];
        m_moreCount.fetch_add(1, std::memory_order_relaxed);
        entry.thread.store(self, std::memory_order_relaxed);
        return entry;
    }

    ThreadLockEntry* Find() noexcept { return FindFor(GetCurrentThreadId()); }

    /// Drops the calling thread's entry.
    void Erase(ThreadLockEntry& entry) noexcept
    {
        entry.count = 0;
        entry.isRead = false;
        entry.locked = false;
        for (ThreadLockEntry& slot : m_slots)
        {
            if (&slot == &entry)
            {
                slot.thread.store(0, std::memory_order_release);
                return;
            }
        }
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        m_more->erase(entry.thread.load(std::memory_order_relaxed));
        m_moreCount.fetch_sub(1, std::memory_order_relaxed);
    }

private:
    // A thread's own entry cannot come or go while that thread looks for it, so relaxed loads suffice.
    ThreadLockEntry* FindFor(DWORD self) noexcept
    {
        for (ThreadLockEntry& slot : m_slots)
        {
            if (slot.thread.load(std::memory_order_relaxed) == self)
            {
                return &slot;
            }
        }
        if (m_moreCount.load(std::memory_order_relaxed) == 0)
        {
            return nullptr;
        }
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        const auto found = m_more->find(self);
        return found != m_more->end() ? &found->second : nullptr;
    }

    ThreadLockEntry m_slots[InlineSlots];
    std::atomic<unsigned> m_moreCount{0};
    XLeafMutex m_mutex; // guards the map; its entries belong to their threads
    std::unique_ptr<std::map<DWORD, ThreadLockEntry>> m_more;
};

template <class Traits>
class XBasicRefCountCritSection
{
public:
    explicit XBasicRefCountCritSection(XLockLevel level = XLockLevel::PropertyStore) noexcept
#ifndef NDEBUG
        : m_level(level)
#endif
    {
        (void)level;
    }
    XBasicRefCountCritSection(const XBasicRefCountCritSection&) = delete;
    XBasicRefCountCritSection& operator=(const XBasicRefCountCritSection&) = delete;

    /// One exclusive reference for the calling thread. Raises E_FAIL inside the thread's own read; its count
    /// then stays raised, and the shared lock is never given back: callers must not do that.
    void AddLockRef()
    {
        ThreadLockEntry& entry = m_threads.FindOrMake();
        if (++entry.count == 1)
        {
            entry.isRead = false;
            Take(entry, false);
        }
        else if (entry.count >= 2 && entry.isRead)
        {
            XLXError::Raise(E_FAIL, OLESTR("unable to add a write lock reference to a read lock"),
                            {"XBasicCritSection", "XBasicRefCountCritSection", "AddLockRef()", 111});
        }
    }

    /// One shared reference for the calling thread.
    void AddReadLockRef()
    {
        ThreadLockEntry& entry = m_threads.FindOrMake();
        if (entry.count == 0)
        {
            entry.isRead = true;
        }
        if (++entry.count == 1)
        {
            Take(entry, true);
        }
    }

    /// Gives one reference of the calling thread back, of whichever kind. An unbalanced release is logged and
    /// nothing else: it must not take a cache call down.
    void ReleaseLockRef() noexcept
    {
        ThreadLockEntry* const entry = m_threads.Find();
        if (entry == nullptr)
        {
            LogUnbalanced(
                OLESTR(
                    "trying to unlock the critical section without having it locked for the running thread"),
                216);
            return;
        }
        if (--entry->count > 0)
        {
            return;
        }
        if (entry->count < 0)
        {
            LogUnbalanced(
                OLESTR("trying to unlock the critical section being already unlocked for the running thread "
                       "before"),
                180);
            return;
        }
        if (entry->locked)
        {
            m_lock.UnlockEx(entry->isRead);
            XLockOrder::Pop(Level(), this);
        }
        if (entry->count != 0)
        {
            LogUnbalanced(
                OLESTR("critical section reference count entry found for a thread expected to be removed"),
                206);
            return;
        }
        m_threads.Erase(*entry);
    }

protected:
    ~XBasicRefCountCritSection() = default;

#ifndef NDEBUG
    XLockLevel Level() const noexcept
    {
        return m_level;
    }
#else
    static constexpr XLockLevel Level() noexcept
    {
        return XLockLevel::PropertyStore;
    }
#endif

private:
    void Take(ThreadLockEntry& entry, bool shared)
    {
        // The order is noted before waiting, so that a wrong order is found even when nobody else holds the
        // lock.
        XLockOrder::Push(Level(), this);
        entry.locked = Traits::Lock(m_lock, shared);
        if (!entry.locked)
        {
            XLockOrder::Pop(Level(), this);
        }
    }

    static void LogUnbalanced(XLXTextView text, int line) noexcept
    {
        XLXError::WriteErrorToLogBook(
            E_FAIL, XLXError::SeveritySystem, text,
            {"XBasicCritSection", "XBasicRefCountCritSection", "ReleaseLockRef()", line});
    }

    typename Traits::Lockable m_lock;
    XThreadTable<Traits::InlineSlots> m_threads;
#ifndef NDEBUG
    const XLockLevel m_level;
#endif
};

/// The counted lock as an object of its own.
template <class Traits>
class XCountedLock final : public XBasicRefCountCritSection<Traits>
{
public:
    using XBasicRefCountCritSection<Traits>::XBasicRefCountCritSection;
};

#endif

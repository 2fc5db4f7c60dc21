// SPDX-License-Identifier: MIT
#ifndef XCOUNTEDLOCK_H
#define XCOUNTEDLOCK_H

#include "XCriticalSectionEx.h"
#include "XLXError.h"
#include "XLazyPart.h"
#include "XLeafMutex.h"

#include <atomic>
#include <cstdint>
#include <map>

/// The process-wide lock switch. It is on when the module is loaded. Server-mode initialisation turns it off for good:
/// the host then serialises all calls to the component in the process, and the counted locks make no lock calls. A lock
/// that is held or waited for at that moment is released as it was acquired, according to its thread's entry. Fill
/// mutexes and leaf mutexes ignore the switch.
class XLockSwitch {
public:
    static bool IsOn() noexcept { return s_on.load(std::memory_order_acquire); }
    static void TurnOff() noexcept { s_on.store(false, std::memory_order_release); }

private:
    friend class XLockSwitchTestAccess; // tests turn it on again
    static inline std::atomic<bool> s_on{true};
};

/// One thread's references to a lock.
struct ThreadLockEntry {
    std::atomic<DWORD> thread{0};   ///< 0: free. Only this thread accesses the other fields.
    std::int32_t count : 30 = 0;    ///< read and write references together
    std::uint32_t isRead : 1 = 0;   ///< the first reference was a read reference
    std::uint32_t isLocked : 1 = 0; ///< the underlying lock is really held
};

/// The entries of the threads that hold a lock. The first few are in the object itself. More threads get entries in a
/// map with a mutex of its own, created on first use.
class XThreadTable {
public:
    /// The calling thread's entry; created when there is none.
    ThreadLockEntry& FindOrMake() {
        const DWORD self = GetCurrentThreadId();
        if (ThreadLockEntry* const entry = Find(self); entry != nullptr) { return *entry; }
        for (ThreadLockEntry& slot : m_slots) {
            DWORD free = 0;
            if (slot.thread.load(std::memory_order_relaxed) == 0 &&
                slot.thread.compare_exchange_strong(free, self, std::memory_order_acquire)) {
                return slot;
            }
        }
        More& more = m_more.Make();
        const XLeafLock lock(more.mutex);
        ThreadLockEntry& entry = more.entries[self];
        more.count.fetch_add(1, std::memory_order_relaxed);
        entry.thread.store(self, std::memory_order_relaxed);
        return entry;
    }

    /// The calling thread's entry, or null. Only the thread itself creates and erases its entry, so relaxed loads
    /// suffice.
    ThreadLockEntry* Find(DWORD self = GetCurrentThreadId()) noexcept {
        for (ThreadLockEntry& slot : m_slots) {
            if (slot.thread.load(std::memory_order_relaxed) == self) { return &slot; }
        }
        More* const more = m_more.Find();
        if (more == nullptr || more->count.load(std::memory_order_relaxed) == 0) { return nullptr; }
        const XLeafLock lock(more->mutex);
        const auto found = more->entries.find(self);
        return found != more->entries.end() ? &found->second : nullptr;
    }

    /// Erases the calling thread's entry, whose count is 0.
    void Erase(ThreadLockEntry& entry) noexcept {
        for (ThreadLockEntry& slot : m_slots) {
            if (&slot == &entry) {
                slot.thread.store(0, std::memory_order_release);
                return;
            }
        }
        More& more = *m_more.Find();
        const XLeafLock lock(more.mutex);
        more.entries.erase(entry.thread.load(std::memory_order_relaxed));
        more.count.fetch_sub(1, std::memory_order_relaxed);
    }

private:
    struct More {
        std::atomic<unsigned> count{0};
        XLeafMutex mutex; // each entry belongs to its thread
        std::map<DWORD, ThreadLockEntry> entries LX_GUARDED_BY(mutex);
    };

    ThreadLockEntry m_slots[2];
    XLazyPart<More> m_more;
};

/// A counted, reentrant reader-writer lock. The underlying lock is called only while the process-wide switch is on.
template <class Lockable = XCriticalSectionEx> class XBasicRefCountCritSection {
public:
    explicit XBasicRefCountCritSection(XLockLevel level = XLockLevel::PropertyStore) noexcept : m_place(level) {}

    /// Adds an exclusive reference for the calling thread. Raises E_FAIL if the thread's first reference is a read
    /// reference. The refused reference is counted all the same, so the caller must release it, too.
    void AddLockRef() {
        ThreadLockEntry& entry = m_threads.FindOrMake();
        if (++entry.count == 1) {
            Take(entry, false);
        } else if (entry.count >= 2 && entry.isRead != 0) {
            XLXError::Raise(E_FAIL, OLESTR("unable to add a write lock reference to a read lock"),
                            {"XBasicCritSection", "XBasicRefCountCritSection", "AddLockRef()", 111});
        }
    }

    /// Adds a shared reference for the calling thread.
    void AddReadLockRef() {
        ThreadLockEntry& entry = m_threads.FindOrMake();
        if (++entry.count == 1) { Take(entry, true); }
    }

    /// Releases one reference of the calling thread, of either kind. An unbalanced release is only logged: it must not
    /// make a call to the cache fail.
    void ReleaseLockRef() noexcept {
        ThreadLockEntry* const entry = m_threads.Find();
        if (entry == nullptr) {
            LogUnbalanced(
                OLESTR("trying to unlock the critical section without having it locked for the running thread"), 216);
            return;
        }
        if (--entry->count > 0) { return; }
        if (entry->count < 0) {
            LogUnbalanced(OLESTR("trying to unlock the critical section being already unlocked for the running thread "
                                 "before"),
                          180);
            return;
        }
        if (entry->isLocked) {
            entry->isRead ? m_lock.unlock_shared() : m_lock.unlock();
            m_place.Leave(this);
        }
        if (entry->count != 0) {
            LogUnbalanced(OLESTR("critical section reference count entry found for a thread expected to be removed"),
                          206);
            return;
        }
        m_threads.Erase(*entry);
    }

protected:
    const XLockPlace& Place() const noexcept { return m_place; }

private:
    /// Acquires the lock for the thread's first reference.
    void Take(ThreadLockEntry& entry, bool shared) {
        entry.isRead = shared;
        // Recorded before waiting, so that a wrong order is reported before it can deadlock.
        m_place.Enter(this);
        entry.isLocked = XLockSwitch::IsOn();
        if (entry.isLocked) {
            shared ? m_lock.lock_shared() : m_lock.lock();
        } else {
            m_place.Leave(this);
        }
    }

    static void LogUnbalanced(XLXTextView text, int line) noexcept {
        XLXError::WriteErrorToLogBook(E_FAIL, XLXError::SeveritySystem, text,
                                      {"XBasicCritSection", "XBasicRefCountCritSection", "ReleaseLockRef()", line});
    }

    Lockable m_lock;
    XThreadTable m_threads;
    [[no_unique_address]] XLockPlace m_place;
};

#endif

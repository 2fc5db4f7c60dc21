// SPDX-License-Identifier: MIT
//
// What the lock-free read, the clock and the load protocol take from the system. Tests pass a policy of their
// own, which stops a thread at each step, so that every order of the steps of small cases can be tried.
#ifndef XSYNCPOLICY_H
#define XSYNCPOLICY_H

#include "LXConfigFactoryCache.h"

#include <atomic>

/// The system itself.
struct XSystemSync
{
    template <class T>
    using Atomic = std::atomic<T>;

    /// An exclusive lock that is not reentrant.
    class Mutex
    {
    public:
        Mutex() noexcept = default;
        Mutex(const Mutex&) = delete;
        Mutex& operator=(const Mutex&) = delete;

        void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
        bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&m_lock) != 0; }
        void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

    private:
        SRWLOCK m_lock = SRWLOCK_INIT;
    };

    static DWORD ThreadId() noexcept { return GetCurrentThreadId(); }

    /// One pointer for each thread, null at first. Nothing is destroyed when a thread ends.
    static void*& ThreadPointer() noexcept
    {
        static thread_local void* t_pointer = nullptr;
        return t_pointer;
    }

    /// A pause between two looks at something that another thread changes.
    static void Pause() noexcept { Sleep(1); }
};

#endif

// SPDX-License-Identifier: MIT
//
// Helpers of the lock tests: threads that run given work, and a lock whose state can be probed and that counts its
// waiters. No test relies on sleeping to get an order.
#ifndef SYNCTOOLS_H
#define SYNCTOOLS_H

#include "XCritData.h"
#include "waiting.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <optional>
#include <thread>

/// How long a test waits for something that must happen.
constexpr std::chrono::seconds MustHappen{30};

template <class T> bool IsReady(std::future<T>& future, std::chrono::milliseconds within = MustHappen) {
    return future.wait_for(within) == std::future_status::ready;
}

/// The exception that work raises. It is caught on the raising thread: the C++ library counts references to an
/// exception in a future where the thread sanitizer cannot see it.
template <class F> std::optional<XLXException> Raised(F&& work) {
    try {
        work();
        return std::nullopt;
    } catch (const XLXException& error) { return error; }
}

/// A thread that runs the given work in order. The work must not raise.
class XActor {
public:
    XActor() : m_thread([this] { Run(); }) {}
    XActor(const XActor&) = delete;
    XActor& operator=(const XActor&) = delete;
    ~XActor() {
        Post({});
        m_thread.join();
    }

    template <class F> auto Start(F work) {
        auto task = std::make_shared<std::packaged_task<decltype(work())()>>(std::move(work));
        auto future = task->get_future();
        Post([task] { (*task)(); });
        return future;
    }
    template <class F> auto Do(F work) { return Start(std::move(work)).get(); }

private:
    void Post(std::function<void()> work) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work.push_back(std::move(work));
        m_wake.notify_one();
    }
    void Run() {
        for (;;) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait(lock, [this] { return !m_work.empty(); });
            const std::function<void()> work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            if (!work) { return; }
            work();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_work;
    std::thread m_thread;
};

enum class LockState { Free, Shared, Exclusive };

/// The platform's lock with probes.
class XProbeLock final : public XCriticalSectionEx {
public:
    XProbeLock() noexcept { s_last = this; }

    void lock() noexcept { Lock(false); }
    void lock_shared() noexcept { Lock(true); }
    void unlock() noexcept { Unlock(false); }
    void unlock_shared() noexcept { Unlock(true); }

    /// How the lock is held, determined by trying to acquire it.
    LockState State() noexcept {
        if (Try(false)) {
            ReleaseSRWLockExclusive(&m_lock);
            return LockState::Free;
        }
        if (Try(true)) {
            ReleaseSRWLockShared(&m_lock);
            return LockState::Shared;
        }
        return LockState::Exclusive;
    }

    /// The lock created last, which is the one of the object under test.
    static XProbeLock& Last() { return *s_last; }

    std::atomic<int> lockCalls{0};
    std::atomic<int> unlockCalls{0};
    std::atomic<int> waiting{0}; ///< threads that are blocked on the lock
    std::function<void()> onUnlock;

private:
    void Lock(bool shared) noexcept {
        ++lockCalls;
        if (!Try(shared)) {
            ++waiting;
            shared ? XCriticalSectionEx::lock_shared() : XCriticalSectionEx::lock();
            --waiting;
        }
    }
    void Unlock(bool shared) noexcept {
        ++unlockCalls;
        if (onUnlock) { onUnlock(); }
        shared ? XCriticalSectionEx::unlock_shared() : XCriticalSectionEx::unlock();
    }
    bool Try(bool shared) noexcept {
        return (shared ? TryAcquireSRWLockShared(&m_lock) : TryAcquireSRWLockExclusive(&m_lock)) != FALSE;
    }

    static inline XProbeLock* s_last = nullptr;
};

/// Turns the lock switch on again. The component itself never does that.
class XLockSwitchTestAccess {
public:
    static void TurnOn() noexcept { XLockSwitch::s_on.store(true); }
};

#endif

// SPDX-License-Identifier: MIT
//
// What the lock tests arrange threads with: threads that do as they are told, and a lock that can be tried and tells
// who waits for it. Nothing here sleeps to make an order likely.
#ifndef SYNCTOOLS_H
#define SYNCTOOLS_H

#include "XCritData.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <optional>
#include <thread>

/// How long a test waits for what must happen.
constexpr std::chrono::seconds MustHappen{30};
/// How long a test watches that something does not happen.
constexpr std::chrono::milliseconds MustNotHappen{50};

template <class T> bool IsReady(std::future<T>& future, std::chrono::milliseconds within = MustHappen) {
    return future.wait_for(within) == std::future_status::ready;
}

/// Polls for a condition that another thread brings about.
template <class Condition> bool Comes(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + MustHappen;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) { return false; }
        std::this_thread::yield();
    }
    return true;
}

/// What a piece of work raises. It is caught where it is raised: an exception that travels in a future is counted
/// inside the C++ library, where the thread sanitizer does not see it.
template <class F> std::optional<XLXException> Raised(F&& work) {
    try {
        work();
        return std::nullopt;
    } catch (const XLXException& error) { return error; }
}

/// One thread that runs what it is given, in order. The work raises nothing.
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

/// The platform's lock, watched.
class XProbeLock final : public XCriticalSectionEx {
public:
    XProbeLock() noexcept { s_last = this; }

    void lock() noexcept { Lock(false); }
    void lock_shared() noexcept { Lock(true); }
    void unlock() noexcept { Unlock(false); }
    void unlock_shared() noexcept { Unlock(true); }

    /// How the lock is held, found out by trying.
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

    /// The lock made last: that of the object under test.
    static XProbeLock& Last() { return *s_last; }

    std::atomic<int> lockCalls{0};
    std::atomic<int> unlockCalls{0};
    std::atomic<int> waiting{0}; ///< threads that the lock holds up
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

/// Turns the lock switch on again, which the component itself never does.
class XLockSwitchTestAccess {
public:
    static void TurnOn() noexcept { XLockSwitch::s_on.store(true); }
};

#endif

// SPDX-License-Identifier: MIT
//
// The callback of a client, with a queue of calls to it. A thread per client makes the queued calls one after the
// other, so that a slow client does not delay others. Calls can also be made directly on the calling thread.
//
// Ownership  The queue keeps the callback until End, or until a call shows that the client is gone. A call in progress
//            keeps it until it returns.
// Threading  Thread-safe. No lock is held while the callback is called or released.
// Errors     The result of a call is that of the callback. A call that the queue drops has the result std::nullopt.
#ifndef LXSERVER_CLIENTQUEUE_H
#define LXSERVER_CLIENTQUEUE_H

#include <lxserver/Object.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace lx {
/// Whether a result means that the client's process or callback no longer exists.
inline bool IsGone(HRESULT result) noexcept {
    constexpr ULONG gone[] = {0x800706BA,  // RPC_S_SERVER_UNAVAILABLE
                              0x800706BE,  // RPC_S_CALL_FAILED
                              0x800706BF,  // RPC_S_CALL_FAILED_DNE
                              0x80010007,  // RPC_E_SERVER_DIED
                              0x80010012,  // RPC_E_SERVER_DIED_DNE
                              0x80010108,  // RPC_E_DISCONNECTED
                              0x80010114,  // RPC_E_INVALID_OBJECT
                              0x800401FD}; // CO_E_OBJNOTCONNECTED
    return std::find(std::begin(gone), std::end(gone), static_cast<ULONG>(result)) != std::end(gone);
}

class ClientQueue : public std::enable_shared_from_this<ClientQueue> {
public:
    using Call = std::function<HRESULT(ILXCallbackUpdate&)>;
    using MakeCall = std::function<Call()>;
    using Answer = std::future<std::optional<HRESULT>>; ///< std::nullopt if the queue dropped the call
    using Clock = std::chrono::steady_clock;

    /// After a call that takes longer, a sender does not wait for the next one.
    static constexpr std::chrono::milliseconds SlowAnswer{500};
    /// The most calls that are queued. Beyond that, one call replaces all of them.
    static constexpr std::size_t MostWaiting = 1000;

    static std::shared_ptr<ClientQueue> Create(ILXCallbackUpdate* callback) {
        return std::shared_ptr<ClientQueue>(new ClientQueue(callback));
    }
    ClientQueue(const ClientQueue&) = delete;
    ClientQueue& operator=(const ClientQueue&) = delete;

    /// Queues a call.
    /// @param forAll  makes the call that replaces all queued ones when there are MostWaiting of them
    Answer Post(Call call, const MakeCall& forAll = {}) {
        Job job{std::move(call), {}};
        Answer answer = job.answer.get_future();
        std::deque<Job> replaced;
        {
            const std::lock_guard lock(m_mutex);
            if (m_end) {
                replaced.push_back(std::move(job));
            } else {
                StartThread(); // first: if it throws, nothing is queued
                if (m_jobs.size() >= MostWaiting && forAll) {
                    m_jobs.swap(replaced);
                    job.call = forAll();
                }
                m_jobs.push_back(std::move(job));
            }
        }
        Dismiss(replaced);
        return answer;
    }

    /// Calls the callback on the calling thread, ahead of queued calls. Returns std::nullopt after End.
    std::optional<HRESULT> CallHere(const Call& call) {
        Ref<ILXCallbackUpdate> callback;
        {
            const std::lock_guard lock(m_mutex);
            callback = m_callback;
        }
        return callback ? std::optional<HRESULT>(Make(call, *callback)) : std::nullopt;
    }

    /// Drops queued calls, refuses new ones and releases the callback.
    void End() {
        Ref<ILXCallbackUpdate> callback; // released after unlocking
        std::deque<Job> jobs;
        {
            const std::lock_guard lock(m_mutex);
            m_end = true;
            m_jobs.swap(jobs);
            std::swap(m_callback, callback);
            m_changed.notify_all();
        }
        Dismiss(jobs);
    }

    /// Whether the queue is idle and the last call was fast, so that a sender may wait for the next answer.
    bool IsReady() const {
        const std::lock_guard lock(m_mutex);
        return IsIdle() && !m_slow;
    }
    /// Whether a call has shown that the client is gone. The queue has then been ended.
    bool IsGone() const noexcept { return m_gone; }
    /// Whether the call in progress has taken longer than the limit.
    bool IsHanging(std::chrono::milliseconds limit) const {
        const std::lock_guard lock(m_mutex);
        return m_busy && Clock::now() - m_start > limit;
    }
    bool WaitUntilIdle(Clock::time_point until) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_until(lock, until, [this] { return IsIdle(); });
    }
    /// Waits until the queue's thread has finished; returns false on timeout. Call it after End. On the queue's
    /// thread itself it returns at once.
    bool WaitUntilEnded(Clock::time_point until) {
        std::unique_lock lock(m_mutex);
        return m_thread == std::this_thread::get_id() ||
               m_changed.wait_until(lock, until, [this] { return !m_threadRuns; });
    }

private:
    struct Job {
        Call call;
        std::promise<std::optional<HRESULT>> answer;
    };

    explicit ClientQueue(ILXCallbackUpdate* callback) : m_callback(callback) {}

    bool IsIdle() const { return m_jobs.empty() && !m_busy; }
    static void Dismiss(std::deque<Job>& jobs) {
        for (Job& job : jobs) {
            job.answer.set_value(std::nullopt);
        }
    }
    HRESULT Make(const Call& call, ILXCallbackUpdate& callback) {
        const HRESULT result = call(callback);
        if (lx::IsGone(result)) { // before the answer is set: its waiter must see the client as gone
            m_gone = true;
            End();
        }
        return result;
    }
    void StartThread() {
        if (!m_threadRuns) {
            std::thread([self = shared_from_this()] { self->Run(); }).detach();
            m_threadRuns = true;
        }
        m_changed.notify_all();
    }

    void Run() {
        std::unique_lock lock(m_mutex);
        m_thread = std::this_thread::get_id();
        Ref<ILXCallbackUpdate> callback = m_callback;
        for (;;) {
            m_changed.wait(lock, [this] { return m_end || !m_jobs.empty(); });
            if (m_end) { break; }
            Job job = std::move(m_jobs.front());
            m_jobs.pop_front();
            m_busy = true;
            m_start = Clock::now();
            lock.unlock();
            const HRESULT result = Make(job.call, *callback);
            lock.lock();
            m_busy = false;
            m_slow = Clock::now() - m_start > SlowAnswer;
            m_changed.notify_all();
            lock.unlock();
            job.answer.set_value(result); // last: its waiter must see the client as ready for the next call
            lock.lock();
        }
        lock.unlock();
        callback = nullptr; // release without the lock
        lock.lock();
        m_threadRuns = false;
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex; // guards the members below except m_gone; the innermost lock
    std::condition_variable m_changed;
    Ref<ILXCallbackUpdate> m_callback;
    std::deque<Job> m_jobs;
    Clock::time_point m_start; // of the call in progress
    std::thread::id m_thread;
    bool m_threadRuns = false; // the first call starts the thread
    bool m_busy = false;
    bool m_slow = false; // the last call took longer than SlowAnswer
    bool m_end = false;
    std::atomic<bool> m_gone{false};
};
} // namespace lx

#endif

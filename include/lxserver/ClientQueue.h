// SPDX-License-Identifier: MIT
//
// A client's callback and the calls that wait for it. They are made one after the other on a thread of the client's
// own, so that a slow client holds up nobody else; or at once, on the thread of who calls.
//
// Ownership  It keeps the callback until it is ended, or until the client turns out to be gone; the call under way
//            holds it longer.
// Threading  Everything may be called from any thread. No lock is held while the callback is called or released.
// Errors     The answers are the callback's own. What a queue makes no more has no answer (std::nullopt).
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
/// Whether an answer says that the client's process or its callback is no more.
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
    using Answer = std::future<std::optional<HRESULT>>; ///< nothing for a call that was not made any more
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds SlowAnswer{500}; ///< after which an answer is not waited for next time
    static constexpr std::size_t MostWaiting = 1000;            ///< calls; more give way to one that stands for them

    static std::shared_ptr<ClientQueue> Create(ILXCallbackUpdate* callback) {
        return std::shared_ptr<ClientQueue>(new ClientQueue(callback));
    }
    ClientQueue(const ClientQueue&) = delete;
    ClientQueue& operator=(const ClientQueue&) = delete;

    /// Has the callback called, after what waits already.
    /// @param forAll  makes what is called instead of all that wait, when there are MostWaiting of them
    Answer Post(Call call, const MakeCall& forAll = {}) {
        Job job{std::move(call), {}};
        Answer answer = job.answer.get_future();
        std::deque<Job> replaced;
        {
            const std::lock_guard lock(m_mutex);
            if (m_end) {
                replaced.push_back(std::move(job));
            } else {
                if (m_jobs.size() >= MostWaiting && forAll) {
                    m_jobs.swap(replaced);
                    job.call = forAll();
                }
                m_jobs.push_back(std::move(job));
                StartThread();
            }
        }
        Dismiss(replaced);
        return answer;
    }

    /// Has the callback called on the calling thread, whatever waits.
    std::optional<HRESULT> CallHere(const Call& call) {
        Ref<ILXCallbackUpdate> callback;
        {
            const std::lock_guard lock(m_mutex);
            callback = m_callback;
        }
        return callback ? std::optional<HRESULT>(Make(call, *callback)) : std::nullopt;
    }

    /// Makes no call any more and lets go of the callback.
    void End() {
        Ref<ILXCallbackUpdate> callback; // released with no lock held
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

    /// Whether nothing is under way or waits, and the last call did not take long: an answer to the next call may be
    /// waited for.
    bool IsReady() const {
        const std::lock_guard lock(m_mutex);
        return IsIdle() && !m_slow;
    }
    /// Whether the client is gone, so that it was ended.
    bool IsGone() const noexcept { return m_gone; }
    /// Whether the call under way has taken longer than that.
    bool IsHanging(std::chrono::milliseconds limit) const {
        const std::lock_guard lock(m_mutex);
        return m_busy && Clock::now() - m_start > limit;
    }
    bool WaitUntilIdle(Clock::time_point until) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_until(lock, until, [this] { return IsIdle(); });
    }
    /// Waits for the thread, if there is one and it is not the caller's; to be called after End.
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
        if (lx::IsGone(result)) { // noted before the answer is known: who waits for it finds the client gone
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
            job.answer.set_value(result); // last: who waits for it finds the client ready for the next call
            lock.lock();
        }
        lock.unlock();
        callback = nullptr; // with no lock held
        lock.lock();
        m_threadRuns = false;
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex; // guards all of the following; taken last
    std::condition_variable m_changed;
    Ref<ILXCallbackUpdate> m_callback;
    std::deque<Job> m_jobs;
    Clock::time_point m_start; // of the call under way
    std::thread::id m_thread;
    bool m_threadRuns = false; // from the first call on
    bool m_busy = false;
    bool m_slow = false; // the last call took long
    bool m_end = false;
    std::atomic<bool> m_gone{false}; // not guarded
};
} // namespace lx

#endif

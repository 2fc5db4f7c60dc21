// SPDX-License-Identifier: MIT
//
// A client's callback and the calls that wait for it. They are made one after the other on a thread of the client's
// own, so that a slow client holds up nobody else.
//
// Ownership  It keeps the callback until it is ended, or until the client turns out to be gone; the call under way
//            holds it longer.
// Threading  Everything may be called from any thread. No lock is held while the callback is called or released.
#ifndef XCLIENTQUEUE_H
#define XCLIENTQUEUE_H

#include "XLXComPtr.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

/// Whether an answer says that the client's process or its callback is no more.
bool LXIsGone(HRESULT result) noexcept;

class XClientQueue : public std::enable_shared_from_this<XClientQueue> {
public:
    using Call = std::function<HRESULT(ILXCallbackUpdate&)>;
    using Answer = std::future<std::optional<HRESULT>>; ///< nothing for a call that was not made any more
    using Time = std::chrono::steady_clock::time_point;

    static std::shared_ptr<XClientQueue> Create(ILXCallbackUpdate* callback);
    XClientQueue(const XClientQueue&) = delete;
    XClientQueue& operator=(const XClientQueue&) = delete;

    Answer Post(Call call);
    /// Makes no call any more and lets go of the callback.
    void End();

    /// Whether nothing is under way or waits, and the last call did not take long: an answer to the next call may be
    /// waited for.
    bool IsReady() const;
    /// Whether the client is gone, so that it was ended.
    bool IsGone() const noexcept { return m_gone; }
    bool WaitUntilIdle(Time until);
    /// Waits for the thread, if there is one; to be called after End.
    bool WaitUntilEnded(Time until);

private:
    struct Job {
        Call call;
        std::promise<std::optional<HRESULT>> answer;
    };

    explicit XClientQueue(ILXCallbackUpdate* callback) : m_callback(callback) {}
    void Run();
    bool IsIdle() const { return m_jobs.empty() && !m_busy; }

    mutable std::mutex m_mutex; // guards all of the following; taken last
    std::condition_variable m_changed;
    XLXComPtr<ILXCallbackUpdate> m_callback;
    std::deque<Job> m_jobs;
    bool m_threadRuns = false; // from the first call on
    bool m_busy = false;
    bool m_slow = false; // the last call took long
    bool m_end = false;
    std::atomic<bool> m_gone{false}; // not guarded
};

#endif

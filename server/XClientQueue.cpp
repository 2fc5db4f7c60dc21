// SPDX-License-Identifier: MIT
#include "XClientQueue.h"

#include <algorithm>
#include <iterator>
#include <thread>

namespace {
constexpr std::chrono::milliseconds SlowAnswer{500};
}

bool LXIsGone(HRESULT result) noexcept {
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

std::shared_ptr<XClientQueue> XClientQueue::Create(ILXCallbackUpdate* callback) {
    return std::shared_ptr<XClientQueue>(new XClientQueue(callback));
}

XClientQueue::Answer XClientQueue::Post(Call call) {
    Job job{std::move(call), {}};
    Answer answer = job.answer.get_future();
    const std::lock_guard lock(m_mutex);
    if (m_end) {
        job.answer.set_value(std::nullopt);
        return answer;
    }
    m_jobs.push_back(std::move(job));
    if (!m_threadRuns) {
        std::thread([self = shared_from_this()] { self->Run(); }).detach();
        m_threadRuns = true;
    }
    m_changed.notify_all();
    return answer;
}

void XClientQueue::Run() {
    XLXComPtr<ILXCallbackUpdate> callback; // released with no lock held
    std::unique_lock lock(m_mutex);
    callback = m_callback;
    for (;;) {
        m_changed.wait(lock, [this] { return m_end || !m_jobs.empty(); });
        if (m_end) { break; }
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        m_busy = true;
        lock.unlock();
        const auto start = std::chrono::steady_clock::now();
        const HRESULT result = job.call(*callback);
        const bool slow = std::chrono::steady_clock::now() - start > SlowAnswer;
        if (LXIsGone(result)) // noted before the answer is known, so that who waits for it finds the client gone
        {
            m_gone = true;
            End();
        }
        lock.lock();
        m_busy = false;
        m_slow = slow;
        m_changed.notify_all();
        lock.unlock();
        job.answer.set_value(result); // last, so that who waits for it finds the client ready for the next call
        lock.lock();
    }
    lock.unlock();
    callback.Reset();
    lock.lock();
    m_threadRuns = false;
    m_changed.notify_all();
}

void XClientQueue::End() {
    XLXComPtr<ILXCallbackUpdate> callback; // released with no lock held
    std::deque<Job> jobs;
    {
        const std::lock_guard lock(m_mutex);
        m_end = true;
        m_jobs.swap(jobs);
        m_callback.Swap(callback);
        m_changed.notify_all();
    }
    for (Job& job : jobs) {
        job.answer.set_value(std::nullopt);
    }
}

bool XClientQueue::IsReady() const {
    const std::lock_guard lock(m_mutex);
    return IsIdle() && !m_slow;
}

bool XClientQueue::WaitUntilIdle(Time until) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_until(lock, until, [this] { return IsIdle(); });
}

bool XClientQueue::WaitUntilEnded(Time until) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_until(lock, until, [this] { return !m_threadRuns; });
}

// SPDX-License-Identifier: MIT
#ifndef XFILL_H
#define XFILL_H

#include "XLockOrder.h"
#include "XSyncPolicy.h"

#include <cstdint>
#include <mutex>
#include <utility>

/// The purpose of a fill.
enum class XFillKind : unsigned char {
    Asking,   ///< asks the server for a holder's data
    Lifecycle ///< initialises or terminates a manager
};

/// A mutex that is handed over to the thread that has waited longest. With the platform's lock, a thread that fills
/// again and again would overtake all sleeping threads.
template <class Policy = XSystemSync> class XBasicFillMutex {
public:
    void lock() noexcept {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        if (!std::exchange(m_isHeld, true)) { return; }
        Waiting self;
        Waiting** end = &m_first;
        while (*end != nullptr) {
            end = &(*end)->next;
        }
        *end = &self;
        while (!self.isNext) {
            self.turn.Wait(m_mutex);
        }
    }
    bool try_lock() noexcept {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        return !std::exchange(m_isHeld, true);
    }
    void unlock() noexcept {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        if (m_first == nullptr) {
            m_isHeld = false;
            return;
        }
        Waiting& next = *m_first;
        m_first = next.next;
        next.isNext = true; // still held: now by that thread
        next.turn.WakeOne();
    }
    /// For tests.
    bool HasWaiting() const noexcept {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        return m_first != nullptr;
    }

private:
    /// The queue's node of a waiting thread, on the stack of that thread.
    struct Waiting {
        Waiting* next = nullptr;
        bool isNext = false;
        typename Policy::Condition turn;
    };

    mutable typename Policy::Mutex m_mutex; // guards the members below and the nodes; held briefly
    bool m_isHeld = false;
    Waiting* m_first = nullptr; // the waiting threads, in the order of their requests
};

/// The right to ask the server for a holder's data. Held across calls to the server, never taken by a notification.
///
/// The server may call back while it answers. So each thread keeps a list of the holders that it is asking for:
/// - If the holder is on the thread's list, re-entry succeeds and is reported; the caller uses the present data.
/// - If the thread is asking for other holders, it does not wait: if another thread has the mutex, both ask the server
///   in parallel. So a thread that others wait for never waits for a fill mutex, in whatever order servers call back,
///   and the mutexes need no order.
/// - Otherwise the thread waits for the mutex.
template <class Policy = XSystemSync> class XBasicFill {
public:
    using Mutex = XBasicFillMutex<Policy>;

    /// @param mutex   the holder's mutex; several holders may share one
    /// @param holder  identifies the holder; never dereferenced
    XBasicFill(Mutex& mutex, const void* holder, XFillKind kind = XFillKind::Asking) noexcept
        : m_mutex(mutex), m_holder(holder), m_kind(kind), m_next(List()) {
        bool isOwned = false; // the thread holds the mutex for another holder
        bool isAsking = false;
        for (const XBasicFill* fill = m_next; fill != nullptr; fill = fill->m_next) {
            m_reentered = m_reentered || fill->m_holder == holder;
            isOwned = isOwned || (fill->m_locked && &fill->m_mutex == &mutex);
            // A thread that initialises or terminates may wait for a holder's mutex. No thread that already fills waits
            // for an initialisation.
            isAsking = isAsking || fill->m_kind == XFillKind::Asking || kind == XFillKind::Lifecycle;
        }
        if (!m_reentered && !isOwned) { Acquire(isAsking); }
        Policy::ThreadPointer() = this;
    }
    XBasicFill(const XBasicFill&) = delete;
    ~XBasicFill() {
        Policy::ThreadPointer() = const_cast<XBasicFill*>(m_next);
        if (!m_locked) { return; }
        m_mutex.unlock();
        XLockPlace(XLockLevel::Fill).Leave(&m_mutex);
    }

    /// Whether the thread is already asking for this holder.
    bool IsReentered() const noexcept { return m_reentered; }
    bool HasMutex() const noexcept { return m_locked; }
    /// Whether another thread holds the mutex and this one must not wait for it.
    bool IsBusyElsewhere() const noexcept { return m_busy; }

private:
    static const XBasicFill* List() noexcept { return static_cast<const XBasicFill*>(Policy::ThreadPointer()); }

    void Acquire(bool mustNotWait) noexcept {
        if (mustNotWait) {
            m_locked = m_mutex.try_lock();
            m_busy = !m_locked;
            return;
        }
        XLockPlace(XLockLevel::Fill).Enter(&m_mutex); // not for try_lock, which cannot deadlock
        m_mutex.lock();
        m_locked = true;
    }

    Mutex& m_mutex;
    const void* const m_holder;
    const XFillKind m_kind;
    const XBasicFill* const m_next; // the thread's enclosing fill
    bool m_reentered = false;
    bool m_busy = false;
    bool m_locked = false;
};

/// Counts the fills of a holder. A thread that had to wait takes the answer of a fill that began after its query, even
/// if a notification overtook that answer. So no thread waits for more than the fill in progress and the next one,
/// however fast notifications arrive.
template <class Policy = XSystemSync> class XBasicFillCount {
public:
    /// The number of fills that have begun. Read it when the query arrives, before waiting.
    std::uint32_t Begun() const noexcept { return m_begun.load(std::memory_order_acquire); }
    /// Whether a fill that began after the first `begun` ones has succeeded.
    bool IsServed(std::uint32_t begun) const noexcept {
        return static_cast<std::int32_t>(m_served.load(std::memory_order_acquire) - begun) > 0;
    }

    /// Runs fill(). Counts it only if `held` took the mutex; then waiting threads use its answer if fill returns true.
    template <class Fill> void Run(const XBasicFill<Policy>& held, Fill&& fill) {
        if (!held.HasMutex()) {
            (void)fill();
            return;
        }
        const std::uint32_t number = m_begun.fetch_add(1) + 1;
        if (fill()) { m_served.store(number, std::memory_order_release); }
    }

private:
    typename Policy::template Atomic<std::uint32_t> m_begun{0};
    typename Policy::template Atomic<std::uint32_t> m_served{0}; // written with the mutex held
};

using XFill = XBasicFill<>;
using XFillCount = XBasicFillCount<>;
using XFillMutex = XFill::Mutex;

#endif

// SPDX-License-Identifier: MIT
#ifndef XFILL_H
#define XFILL_H

#include "XLockOrder.h"
#include "XSyncPolicy.h"

#include <atomic>
#include <cstdint>

/// What a fill is for.
enum class XFillKind : unsigned char {
    Asking,   ///< the server is asked for what a holder holds
    Lifecycle ///< a manager is initialised or terminated
};

/// A mutex whose waiters come before those who come later. The system wakes a waiter when the mutex becomes free, and
/// a thread that fills again and again would be back before he runs: whoever finds the mutex free while somebody waits
/// leaves it to him for a while.
template <class Policy = XSystemSync> class XBasicFillMutex {
public:
    void lock() noexcept {
        for (int pauses = 0; pauses < MostPauses && m_waiting.load() > 0 && !m_isHeld.load(); ++pauses) {
            Policy::Pause();
        }
        m_waiting.fetch_add(1);
        m_mutex.lock();
        m_waiting.fetch_sub(1);
        m_isHeld.store(true);
    }
    bool try_lock() noexcept {
        const bool isLocked = m_mutex.try_lock();
        if (isLocked) { m_isHeld.store(true); }
        return isLocked;
    }
    void unlock() noexcept {
        m_isHeld.store(false);
        m_mutex.unlock();
    }

private:
    static constexpr int MostPauses = 20;

    typename Policy::Mutex m_mutex;
    std::atomic<std::uint16_t> m_waiting{0}; // these two only say who goes first
    std::atomic<bool> m_isHeld{false};
};

/// The right to ask the server for a holder. Held across calls to the server, never taken by a notification.
///
/// The server may call back while it is being asked. So each thread keeps a list of the holders that it is asking
/// for:
/// - A thread that comes to a holder on its list is told so: it answers with what is there.
/// - For another holder, a thread that is asking already never waits: when the mutex is busy elsewhere, it asks the
///   server itself, beside the one that has the mutex. So nobody waits while somebody waits for it, whatever the
///   order in which servers ask back, and there is no order among the mutexes.
/// - All others wait for the mutex.
template <class Policy = XSystemSync> class XBasicFill {
public:
    using Mutex = XBasicFillMutex<Policy>;

    /// @param mutex   of the holder; several holders may share one
    /// @param holder  compared only
    XBasicFill(Mutex& mutex, const void* holder, XFillKind kind = XFillKind::Asking) noexcept
        : m_mutex(mutex), m_holder(holder), m_kind(kind), m_next(List()) {
        bool isOwned = false; // the thread has the mutex, for another holder
        bool isAsking = false;
        for (const XBasicFill* fill = m_next; fill != nullptr; fill = fill->m_next) {
            m_reentered = m_reentered || fill->m_holder == holder;
            isOwned = isOwned || (fill->m_locked && &fill->m_mutex == &mutex);
            // Whoever initialises may wait for an answer, but not for somebody else's initialisation.
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

    /// The thread is asking for this holder already.
    bool IsReentered() const noexcept { return m_reentered; }
    bool HasMutex() const noexcept { return m_locked; }
    /// The mutex is held by another thread, and this one could not wait for it.
    bool IsBusyElsewhere() const noexcept { return m_busy; }

private:
    static const XBasicFill* List() noexcept { return static_cast<const XBasicFill*>(Policy::ThreadPointer()); }

    void Acquire(bool mustNotWait) noexcept {
        if (mustNotWait) {
            m_locked = m_mutex.try_lock();
            m_busy = !m_locked;
            return;
        }
        XLockPlace(XLockLevel::Fill).Enter(&m_mutex); // a mutex that is not waited for has no place in the order
        m_mutex.lock();
        m_locked = true;
    }

    Mutex& m_mutex;
    const void* const m_holder;
    const XFillKind m_kind;
    const XBasicFill* const m_next; // the thread's fill around this one
    bool m_reentered = false;
    bool m_busy = false;
    bool m_locked = false;
};

/// Counts the fills of a holder, so that whoever had to wait takes the answer of one that began after the question,
/// even when a notification overtook it: nobody waits for more than the fill that is under way and the one after it,
/// however fast notifications come.
template <class Policy = XSystemSync> class XBasicFillCount {
public:
    /// To be noted when the question comes, before anybody is waited for.
    std::uint32_t Begun() const noexcept { return m_begun.load(std::memory_order_acquire); }
    /// Whether a fill has ended with an answer that began after that many.
    bool IsServed(std::uint32_t begun) const noexcept {
        return static_cast<std::int32_t>(m_served.load(std::memory_order_acquire) - begun) > 0;
    }

    /// Runs one fill. With the mutex of the fill held it is counted; it serves others when fill() returns true.
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

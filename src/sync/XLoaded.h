// SPDX-License-Identifier: MIT
//
// The load protocol: how data is loaded from the server as a whole and cached while it is fresh.
#ifndef XLOADED_H
#define XLOADED_H

#include "XClock.h"
#include "XCritData.h"
#include "XFill.h"

#include <memory>
#include <mutex>
#include <optional>

/// Decides whether a holder is stale: an aspect of a connection's clock. Without an aspect, only the own count matters.
template <class Clock> struct XBasicTime {
    XLXComPtr<Clock> clock;
    std::optional<XAspect> aspect;

    std::uint64_t Now() const noexcept { return clock && aspect ? clock->Now(*aspect) : 1; }
    bool IsSame(const XBasicTime& other) const noexcept { return clock == other.clock; }
};

/// The time of a holder within an object. The object keeps the clock alive, so this needs no reference of its own.
struct XObjectTime {
    XClock* clock = nullptr;
    XAspect aspect{};

    std::uint64_t Now() const noexcept { return clock != nullptr ? clock->Now(aspect) : 1; }
    bool IsSame(const XObjectTime& other) const noexcept { return clock == other.clock; }
};

/// A value with its stamp and the time that the stamp refers to; all under one lock.
template <class T, class Time> struct XPublished {
    std::shared_ptr<const T> value; ///< null: nothing loaded yet
    XStamp stamp;
    Time time; ///< answers of another connection are not accepted

    bool IsFresh(std::uint64_t own) const noexcept { return stamp == XStamp{time.Now(), own}; }
    /// Drops the value and returns it, so that the caller destroys it after the lock.
    std::shared_ptr<const T> TakeOut() noexcept {
        stamp = {};
        return std::exchange(value, nullptr);
    }
};

/// Guards data that each of many objects has: a mutex of one word.
template <class Data, class Policy = XSystemSync> class XMutexGuarded {
public:
    template <class... Arguments>
    explicit XMutexGuarded(Arguments&&... arguments) : m_data{std::forward<Arguments>(arguments)...} {}

    template <class Use> decltype(auto) Read(Use&& use) const {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        return use(static_cast<const Data&>(m_data));
    }
    template <class Use> decltype(auto) Write(Use&& use) {
        const std::lock_guard<typename Policy::Mutex> lock(m_mutex);
        return use(m_data);
    }

private:
    mutable typename Policy::Mutex m_mutex; // guards m_data; held briefly; no foreign code is called under it
    Data m_data;
};

/// Guards data that is read often: lock-free reads while nobody writes.
template <class Data> class XSharedGuarded : XCritDataCFC<Data> {
public:
    using XCritDataCFC<Data>::XCritDataCFC;

    template <class Use> decltype(auto) Read(Use&& use) const { return use(*XCritLFReadProxy<Data>(*this)); }
    template <class Use> decltype(auto) Write(Use&& use) { return use(*XCritProxy<Data>(*this)); }
};

/// A holder of data that is loaded from the server as a whole: an immutable value that is only replaced.
///
/// Callers first check the value with Fresh. Load takes the fill mutex, checks again, takes a stamp, asks with no other
/// lock held, and publishes the value with its stamp under one lock. A published value is never replaced by one whose
/// stamp is older in either word.
/// An answer that a notification overtook is published with its stamp, and is therefore stale. An answer that arrives
/// after End, or after Begin with another clock, is returned to its caller but not published.
///
/// Load never retries for a fresher answer: the caller gets the answer of a load that began after its query, and waits
/// for at most the load in progress and that one.
///
/// @tparam Guarded  an XPublished with its lock, accessible by Read(use) and Write(use)
template <class T, class Time, class Guarded = XMutexGuarded<XPublished<T, Time>>, class Policy = XSystemSync>
class XBasicLoaded {
public:
    using Value = std::shared_ptr<const T>;

    template <class... Arguments>
    explicit XBasicLoaded(Arguments&&... arguments) : m_guarded(std::forward<Arguments>(arguments)...) {}

    /// Empties the holder and accepts answers of this time from now on.
    void Begin(Time time) {
        m_own.Advance();
        const Value former = m_guarded.Write([&](auto& published) {
            std::swap(published.time, time); // the former clock is released after the lock
            return published.TakeOut();
        });
    }
    /// Empties the holder and accepts no more answers; does nothing if the holder accepts those of another time.
    /// Returns the dropped value.
    Value End(Time time) {
        return m_guarded.Write([&](auto& published) {
            if (!published.time.IsSame(time)) { return Value(); }
            m_own.Advance();
            std::swap(published.time, time);
            published.time = Time{};
            return published.TakeOut();
        });
    }
    /// Empties the holder; the next query loads again. Returns the dropped value.
    Value Clear() {
        m_own.Advance();
        return m_guarded.Write([](auto& published) { return published.TakeOut(); });
    }

    /// The value if it is fresh, otherwise null.
    Value Fresh() const {
        return m_guarded.Read(
            [&](const auto& published) { return published.IsFresh(m_own.Now()) ? published.value : Value(); });
    }
    /// The value, fresh or not; null if nothing was loaded.
    Value Held() const {
        return m_guarded.Read([](const auto& published) { return published.value; });
    }
    /// Calls use(value pointer) under the lock, fresh or not; the pointer is null if nothing was loaded.
    template <class Use> decltype(auto) ReadHeld(Use&& use) const {
        return m_guarded.Read([&](const auto& published) { return use(published.value.get()); });
    }

    /// Makes the value stale. Takes no lock.
    void Advance() noexcept { m_own.Advance(); }
    const XBasicOwnCount<Policy>& Own() const noexcept { return m_own; }

    /// The value, loaded unless it is fresh. Null if the thread is already loading it and there is no former value.
    /// @param ask      asks the server: Value ask(stamp of the answer); its exceptions pass through
    /// @param publish  publish(value, former value or null): called under the lock, only if the answer is about to
    ///                 replace the former value. Must not call foreign code
    template <class Ask, class OnPublish> Value Load(const Time& time, Ask&& ask, OnPublish&& publish) {
        const std::uint32_t begun = m_fills.Begun();
        const XBasicFill<Policy> fill(m_fill, this);
        if (fill.IsReentered()) { return Held(); }
        if (Value fresh = Fresh()) { return fresh; }
        Value answer = m_fills.IsServed(begun) ? Held() : nullptr;
        if (!answer) {
            m_fills.Run(fill, [&] {
                const XStamp stamp{time.Now(), m_own.Now()};
                answer = ask(stamp);
                return Publish(time, answer, stamp, publish);
            });
        }
        return answer;
    }
    template <class Ask> Value Load(const Time& time, Ask&& ask) {
        return Load(time, std::forward<Ask>(ask), [](const T&, const Value&) {});
    }

    /// Publishes a value that was not loaded here, with its stamp. False, and nothing published: the holder has a newer
    /// value, or does not accept answers of this time.
    template <class OnPublish> bool Publish(const Time& time, Value value, const XStamp& stamp, OnPublish&& publish) {
        return m_guarded.Write([&](auto& published) {
            if (!published.time.IsSame(time) || stamp.IsOlderThan(published.stamp)) { return false; }
            publish(*value, std::as_const(published.value));
            published.value.swap(value); // the former value is destroyed after the lock
            published.stamp = stamp;
            return true;
        });
    }

    /// Replaces the value by the result of edit(former, isWhole), after this process itself has changed the server's
    /// data. Answers in flight become older. The new value is fresh if the former one was and edit leaves isWhole true.
    /// The own count is advanced and read in one step, so that a concurrent advance is not mistaken for this one.
    template <class Edit> void Change(Edit&& edit) {
        Value changed;
        m_guarded.Write([&](auto& published) {
            const std::uint64_t own = m_own.Advance();
            const bool wasFresh = published.IsFresh(own - 1);
            if (!published.value) { return; }
            bool isWhole = true;
            changed = edit(*published.value, isWhole);
            published.value.swap(changed);
            published.stamp = wasFresh && isWhole ? XStamp{published.stamp.clock, own} : XStamp{};
        });
    }

private:
    XBasicOwnCount<Policy> m_own;
    typename XBasicFill<Policy>::Mutex m_fill;
    XBasicFillCount<Policy> m_fills;
    Guarded m_guarded;
};

using XTime = XBasicTime<XClock>;

/// A holder for data that each of many objects has. Created as XLoaded<T>{nullptr, {}, time}, it accepts
/// answers of that time.
template <class T> using XLoaded = XBasicLoaded<T, XObjectTime>;

/// A holder for data that exists once and is read often. Its lock has a place in the lock order.
template <class T> using XSharedLoaded = XBasicLoaded<T, XTime, XSharedGuarded<XPublished<T, XTime>>>;

#endif

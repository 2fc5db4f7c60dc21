// SPDX-License-Identifier: MIT
//
// The one protocol by which something is loaded from the server and kept while it is fresh.
#ifndef XLOADED_H
#define XLOADED_H

#include "XClock.h"
#include "XCritData.h"
#include "XFill.h"

#include <memory>
#include <mutex>
#include <optional>

/// Where a holder's time comes from: an aspect of a connection's clock. Without an aspect only the own count counts.
template <class Clock> struct XBasicTime {
    XLXComPtr<Clock> clock;
    std::optional<XAspect> aspect;

    std::uint64_t Now() const noexcept { return clock && aspect ? clock->Now(*aspect) : 1; }
    bool IsSame(const XBasicTime& other) const noexcept { return clock == other.clock; }
};

/// The time of a holder that belongs to an object, whose clock outlives the holder: not counted again.
struct XObjectTime {
    XClock* clock = nullptr;
    XAspect aspect{};

    std::uint64_t Now() const noexcept { return clock != nullptr ? clock->Now(aspect) : 1; }
    bool IsSame(const XObjectTime& other) const noexcept { return clock == other.clock; }
};

/// A value that stands under a lock together with its stamp, and the time that the stamp refers to.
template <class T, class Time> struct XPublished {
    std::shared_ptr<const T> value; ///< null: nothing was loaded yet
    XStamp stamp;
    Time time;
    bool open = false; ///< between Begin and End

    bool IsFresh(std::uint64_t own) const noexcept { return open && stamp == XStamp{time.Now(), own}; }
    /// Empties it. What is returned is to go after the lock.
    std::shared_ptr<const T> Empty() noexcept {
        stamp = {};
        return std::exchange(value, nullptr);
    }
};

/// Guards what many objects have one of: a mutex of one word.
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
    mutable typename Policy::Mutex m_mutex; // guards the data; held for a few words, nothing is called under it
    Data m_data;
};

/// Guards what is looked up often: read without a lock while nobody writes.
template <class Data> class XSharedGuarded : XCritDataCFC<Data> {
public:
    using XCritDataCFC<Data>::XCritDataCFC;

    template <class Use> decltype(auto) Read(Use&& use) const { return use(*XCritLFReadProxy<Data>(*this)); }
    template <class Use> decltype(auto) Write(Use&& use) { return use(*XCritProxy<Data>(*this)); }
};

/// Something that is loaded from the server as a whole: an immutable value that is replaced, never changed.
///
/// Load looks, takes the fill mutex, looks again, notes a stamp, asks with no lock held, and publishes the value and
/// its stamp together under one lock. A published value is never replaced by one whose stamp is older in either word;
/// what a notification overtook is published with its stamp, and so is not fresh. An answer that arrives after End,
/// or after Begin with another clock, is given to whoever asked and published nowhere.
///
/// Nobody loops for a better answer: whoever asked gets the answer of a load that began after the question, and waits
/// for no more than the load that is under way and that one.
///
/// @tparam Guarded  holds an XPublished under its lock: Read(use) and Write(use)
template <class T, class Time, class Guarded = XMutexGuarded<XPublished<T, Time>>, class Policy = XSystemSync>
class XBasicLoaded {
public:
    using Value = std::shared_ptr<const T>;

    template <class... Arguments>
    explicit XBasicLoaded(Arguments&&... arguments) : m_guarded(std::forward<Arguments>(arguments)...) {}

    /// Empties the holder; from now on answers of this time are published.
    void Begin(Time time) {
        m_own.Advance();
        const Value former = m_guarded.Write([&](auto& published) {
            std::swap(published.time, time); // the former clock goes after the lock
            published.open = true;
            return published.Empty();
        });
    }
    /// Empties the holder and publishes nothing more, unless it is open for another time. Returns what was there.
    Value End(Time time) {
        return m_guarded.Write([&](auto& published) {
            if (!published.open || !published.time.IsSame(time)) { return Value(); }
            m_own.Advance();
            std::swap(published.time, time);
            published.time = Time{};
            published.open = false;
            return published.Empty();
        });
    }
    /// Empties the holder; the next question asks again. Returns what was there.
    Value Clear() {
        m_own.Advance();
        return m_guarded.Write([](auto& published) { return published.Empty(); });
    }

    /// The value when it is fresh, else null.
    Value Fresh() const {
        return m_guarded.Read(
            [&](const auto& published) { return published.IsFresh(m_own.Now()) ? published.value : Value(); });
    }
    /// What is there, fresh or not; null when nothing was loaded.
    Value Held() const {
        return m_guarded.Read([](const auto& published) { return published.value; });
    }
    /// Calls use(value pointer) under the lock, fresh or not; null when nothing was loaded.
    template <class Use> decltype(auto) ReadHeld(Use&& use) const {
        return m_guarded.Read([&](const auto& published) { return use(published.value.get()); });
    }

    /// Makes what is held stale. Waits for nobody.
    void Advance() noexcept { m_own.Advance(); }
    const XBasicOwnCount<Policy>& Own() const noexcept { return m_own; }

    /// The value, loaded first unless it is fresh. Null: the thread is loading it already, and nothing is there yet.
    /// @param ask      asks the server: Value ask(); what it raises passes
    /// @param publish  publish(value, former value or null), under the lock, when the answer is about to be
    ///                 published: what it does to the former value happens only if that is replaced. Calls nothing
    ///                 foreign
    template <class Ask, class OnPublish> Value Load(const Time& time, Ask&& ask, OnPublish&& publish) {
        const std::uint32_t begun = m_fills.Begun();
        const XBasicFill<Policy> fill(m_fill, this);
        if (fill.IsReentered()) { return Held(); }
        if (Value fresh = Fresh()) { return fresh; }
        Value answer = m_fills.IsServed(begun) ? Held() : nullptr;
        if (!answer) {
            m_fills.Run(fill, [&] {
                const XStamp noted{time.Now(), m_own.Now()};
                answer = ask();
                return Publish(time, answer, noted, publish);
            });
        }
        return answer;
    }
    template <class Ask> Value Load(const Time& time, Ask&& ask) {
        return Load(time, std::forward<Ask>(ask), [](const T&, const Value&) {});
    }

    /// Publishes a value that arrived by another way, with the stamp of that. False: something newer is there, or the
    /// time is over.
    template <class OnPublish> bool Publish(const Time& time, Value value, const XStamp& stamp, OnPublish&& publish) {
        return m_guarded.Write([&](auto& published) {
            if (!published.open || !published.time.IsSame(time) || stamp.IsOlderThan(published.stamp)) { return false; }
            publish(*value, std::as_const(published.value));
            published.value.swap(value); // the former one goes after the lock
            published.stamp = stamp;
            return true;
        });
    }

    /// Replaces the value by what edit(former) returns, for a change of the server's that this process made itself:
    /// an answer on its way is older then. What is returned is fresh if the former value was and edit leaves isWhole
    /// set. The own count is advanced and read in one step: another advance in between would be taken for this one.
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

/// Of which there are many. Open from the start when it is made as XLoaded<T>{nullptr, {}, time, true}.
template <class T> using XLoaded = XBasicLoaded<T, XObjectTime>;

/// Of which there is one, looked up often. Its lock has a place in the lock order.
template <class T> using XSharedLoaded = XBasicLoaded<T, XTime, XSharedGuarded<XPublished<T, XTime>>>;

#endif

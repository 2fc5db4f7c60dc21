// SPDX-License-Identifier: MIT
//
// Tells whether cached data is current.
//
// A connection has one clock with a number for each aspect. Every notification that concerns the aspect advances the
// number. Before asking the server, the caller takes a stamp; the answer is published together with that stamp. Cached
// data is fresh while its stamp equals the current one. So an answer that a notification overtook is never fresh,
// however late it arrives. A notification touches no cached data.
//
// Ownership  Reference counted; everything created in a connection holds one reference. The clock refers to nothing.
// Threading  Thread-safe; takes no locks.
#ifndef XCLOCK_H
#define XCLOCK_H

#include "XAspect.h"
#include "XLXComPtr.h"
#include "XSyncPolicy.h"

#include <array>

/// Taken before the server is asked: the clock's number of the aspect, and the holder's own count. The own count
/// advances when something other than a notification to the manager makes the holder stale.
struct XStamp {
    std::uint64_t clock = 0; ///< 0: no stamp; never fresh
    std::uint64_t own = 0;

    bool IsNone() const noexcept { return clock == 0; }
    bool operator==(const XStamp&) const noexcept = default;
    /// Whether an answer with this stamp must not replace one with that stamp.
    bool IsOlderThan(const XStamp& that) const noexcept { return clock < that.clock || own < that.own; }
    /// Both words in one number. Both only grow, so a stamp is current exactly when its sum equals the current stamp's.
    std::uint64_t Sum() const noexcept { return clock + own; }
};

/// A copy of the whole clock, taken before a bulk read. Everything that is created or refreshed from the answer takes
/// its stamp from this copy, however much later that happens.
struct XMoment {
    std::array<std::uint64_t, LXAspectCount> numbers{};
    std::uint64_t direct = 0; ///< the last number that DrawDirect returned in the connection

    /// For objects without a clock, which nothing on the server can make stale.
    static XMoment Timeless() noexcept {
        XMoment moment;
        moment.numbers.fill(1);
        return moment;
    }

    std::uint64_t At(XAspect aspect) const noexcept { return numbers[static_cast<std::size_t>(aspect)]; }
};

/// When the records of an answer were requested.
struct XRequestTime {
    XStamp stamp; ///< of the holder that the records are for; orders them
    const XMoment& moment;
};

template <class Policy = XSystemSync> class XBasicClock {
public:
    std::uint64_t Now(XAspect aspect) const noexcept {
        return m_numbers[static_cast<std::size_t>(aspect)].value.load(std::memory_order_acquire);
    }

    /// Makes these aspects stale. Takes no lock and allocates nothing.
    void Advance(const XAspectSet& aspects) noexcept {
        aspects.ForEach([this](XAspect aspect) { m_numbers[static_cast<std::size_t>(aspect)].value.fetch_add(1); });
    }

    XMoment Copy() const noexcept {
        XMoment moment;
        for (std::size_t i = 0; i < LXAspectCount; ++i) {
            moment.numbers[i] = m_numbers[i].value.load(std::memory_order_acquire);
        }
        moment.direct = m_direct.value.load(std::memory_order_acquire);
        return moment;
    }

    /// Returns a new number for what makes one cached object stale: a notification sent directly to it, or a record
    /// that replaces its server object.
    std::uint64_t DrawDirect() noexcept { return m_direct.value.fetch_add(1) + 1; }

    void AddRef() const noexcept { m_references.value.fetch_add(1, std::memory_order_relaxed); }
    void Release() const noexcept {
        if (m_references.value.fetch_sub(1, std::memory_order_acq_rel) == 1) { delete this; }
    }

private:
    // On a cache line of its own: a burst of notifications of one aspect must not slow readers of another.
    struct alignas(64) Number {
        explicit Number(std::uint64_t first = 1) noexcept : value(first) {}
        typename Policy::template Atomic<std::uint64_t> value;
    };

    std::array<Number, LXAspectCount> m_numbers;
    Number m_direct{0};
    mutable Number m_references{0};
};

using XClock = XBasicClock<>;
using XClockPtr = XLXComPtr<XClock>;

/// A holder's own count. It advances when a notification comes directly to the holder, when what the holder owns is
/// cleared, and when its server object is replaced.
template <class Policy = XSystemSync> class XBasicOwnCount {
public:
    std::uint64_t Now() const noexcept { return m_count.load(std::memory_order_acquire); }
    /// Returns the new count.
    std::uint64_t Advance() noexcept { return m_count.fetch_add(1) + 1; }

private:
    typename Policy::template Atomic<std::uint64_t> m_count{1};
};
using XOwnCount = XBasicOwnCount<>;

/// The number of the last direct notification to an object, or of the last record that replaced its server object. It
/// is stored before the object's own counts advance. Code that takes a stamp from a bulk answer reads the own count
/// first and this number afterwards. So if the answer was overtaken, either this number shows it, or the own count in
/// the stamp is out of date.
template <class Policy = XSystemSync> class XBasicDirectNumber {
public:
    std::uint64_t Now() const noexcept { return m_number.load(std::memory_order_acquire); }

    void Raise(std::uint64_t number) noexcept {
        std::uint64_t stored = m_number.load(std::memory_order_relaxed);
        while (stored < number && !m_number.compare_exchange_weak(stored, number)) {}
    }

    bool IsNewerThan(const XMoment& moment) const noexcept { return Now() > moment.direct; }

private:
    typename Policy::template Atomic<std::uint64_t> m_number{0};
};
using XDirectNumber = XBasicDirectNumber<>;

/// The stamp of what a bulk answer brought for a holder. No stamp if a direct notification came after the answer was
/// requested.
template <class Own, class Direct>
XStamp LXStampFrom(const XMoment& moment, XAspect aspect, const Own& own, const Direct& direct) noexcept {
    const std::uint64_t ownCount = own.Now(); // must be read before the direct number
    return direct.IsNewerThan(moment) ? XStamp{} : XStamp{moment.At(aspect), ownCount};
}

#endif

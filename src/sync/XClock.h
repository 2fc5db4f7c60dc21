// SPDX-License-Identifier: MIT
//
// How the component knows that what it holds is still what the server has.
//
// A connection has one clock: a number for each aspect, which every notification that concerns the aspect advances.
// Whoever is going to ask the server notes a stamp before asking, and publishes the answer together with that stamp.
// What is held is fresh while its stamp is what would be noted now; so an answer that a notification overtook is
// never taken for fresh, however late it arrives, and a notification touches nothing that is cached.
//
// Ownership  The clock is counted; everything made in a connection holds one reference. It refers to nothing.
// Threading  Any thread may call anything. Notifications write, everybody else reads.
#ifndef XCLOCK_H
#define XCLOCK_H

#include "XAspect.h"
#include "XLXComPtr.h"
#include "XSyncPolicy.h"

#include <array>

/// What is noted before the server is asked: the clock's number of an aspect, and the own count of the holder, which
/// advances when something other than a notification to the manager makes the holder stale.
struct XStamp {
    std::uint64_t clock = 0; ///< 0: no stamp, which is never fresh
    std::uint64_t own = 0;

    bool IsNone() const noexcept { return clock == 0; }
    bool operator==(const XStamp&) const noexcept = default;
    /// Whether an answer with this stamp must not replace one with that stamp.
    bool IsOlderThan(const XStamp& that) const noexcept { return clock < that.clock || own < that.own; }
    /// One number for both words. Both only grow, so a stamp is what would be noted now exactly when the sums are
    /// equal.
    std::uint64_t Sum() const noexcept { return clock + own; }
};

/// A copy of the whole clock, taken before a bulk read: whatever is made or refreshed from the answer takes its stamp
/// from here, however much later that happens.
struct XMoment {
    std::array<std::uint64_t, LXAspectCount> numbers{};
    std::uint64_t direct = 0; ///< the last direct notification to any object of the connection

    /// Of what nothing on the server can make stale: it has no clock.
    static XMoment Timeless() noexcept {
        XMoment moment;
        moment.numbers.fill(1);
        return moment;
    }

    std::uint64_t At(XAspect aspect) const noexcept { return numbers[static_cast<std::size_t>(aspect)]; }
};

template <class Policy = XSystemSync> class XBasicClock {
public:
    std::uint64_t Now(XAspect aspect) const noexcept {
        return m_numbers[static_cast<std::size_t>(aspect)].value.load(std::memory_order_acquire);
    }

    /// Makes everything of these aspects stale. Waits for nobody and needs no memory.
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

    /// The number of the next notification that comes straight to a cached object.
    std::uint64_t DrawDirect() noexcept { return m_direct.value.fetch_add(1) + 1; }

    void AddRef() const noexcept { m_references.value.fetch_add(1, std::memory_order_relaxed); }
    void Release() const noexcept {
        if (m_references.value.fetch_sub(1, std::memory_order_acq_rel) == 1) { delete this; }
    }

private:
    // On a cache line of its own, so that a flood of one does not slow the readers of another.
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

/// The own count of a holder: advanced when a notification comes straight to the holder, when what it owns is
/// emptied, and when its server object is replaced.
template <class Policy = XSystemSync> class XBasicOwnCount {
public:
    std::uint64_t Now() const noexcept { return m_count.load(std::memory_order_acquire); }
    /// Returns the count as of this advance.
    std::uint64_t Advance() noexcept { return m_count.fetch_add(1) + 1; }

private:
    typename Policy::template Atomic<std::uint64_t> m_count{1};
};
using XOwnCount = XBasicOwnCount<>;

/// The number of the last notification that came straight to an object. It is stored before the object's own counts
/// are advanced; whoever takes a stamp from a bulk answer reads the own count first and this number after. So of a
/// notification that overtook the answer one of the two is always seen.
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

/// The stamp of what a bulk answer brought for a holder; none when the object was notified after the answer was asked
/// for.
template <class Own, class Direct>
XStamp LXStampFrom(const XMoment& moment, XAspect aspect, const Own& own, const Direct& direct) noexcept {
    const std::uint64_t noted = own.Now(); // before the direct number is read
    return direct.IsNewerThan(moment) ? XStamp{} : XStamp{moment.At(aspect), noted};
}

#endif

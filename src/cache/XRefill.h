// SPDX-License-Identifier: MIT
//
// Refetches stale values of many objects with few calls.
//
// A notification to the manager makes the values of all objects of a kind stale, and each object refetches its own on
// the next read. If many objects are read, one call for a type's components, or for all types, is cheaper than a call
// for each object, provided that a call costs more than the work for the objects that nobody reads.
//
// So after a notification, the first stale object of a type fetches alone. The second one reads all components of the
// type. After a share of the types has been read in this way, the next one reads all types. The values go into the
// stores of the existing objects, with a stamp taken before the call. Sets and server objects stay as they are. An
// object whose values were not delivered asks for them itself.
//
// Ownership  A refill is shared by its objects and refers weakly to the type or manager that reads for it.
// Threading  Thread-safe. No thread waits for a refill in progress on another thread, because a notification callback
//            may read an object while the server waits for that callback.
#ifndef XREFILL_H
#define XREFILL_H

#include "XClock.h"
#include "XLeafMutex.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

/// Measures the cost of calls to a server and decides whether refills pay.
class XCallCosts {
public:
    XCallCosts();

    void Note(std::chrono::steady_clock::duration call) noexcept;
    /// Makes a call to the server and records its duration.
    template <class Call> HRESULT Timed(Call&& call) {
        const auto start = std::chrono::steady_clock::now();
        const HRESULT result = call();
        Note(std::chrono::steady_clock::now() - start);
        return result;
    }
    /// Whether calls are so expensive that a refill pays, although it also reads values that nobody asks for. Uses the
    /// median of recent calls, because single calls may be slow for other reasons.
    bool AreHigh() const noexcept;

private:
    enum class Choice : unsigned char { ByCost, Always, Never };
    static constexpr std::chrono::microseconds HighCost{100};
    static constexpr std::size_t MinCalls = 3;

    const Choice m_choice; ///< set by the environment variable LXREFILL: "always" or "never"
    mutable XLeafMutex m_mutex;
    std::array<std::chrono::steady_clock::duration, 9> m_recent LX_GUARDED_BY(m_mutex){};
    std::size_t m_calls LX_GUARDED_BY(m_mutex) = 0; ///< since the start
};

class XRefill {
public:
    /// @param clock    the clock of the objects' connection
    /// @param values   the aspects of the values that readAll reads
    /// @param costs    shared by all refills of a manager
    /// @param readAll  reads the values of all objects; its failure is logged
    XRefill(XClockPtr clock, XAspectSet values, std::shared_ptr<XCallCosts> costs, std::function<void()> readAll)
        : m_clock(std::move(clock)), m_values(values), m_costs(std::move(costs)), m_readAll(std::move(readAll)) {}
    XRefill(const XRefill&) = delete;
    XRefill& operator=(const XRefill&) = delete;

    /// Sets the number of objects. Once a twelfth of them, and at least two, were found stale, readAll runs.
    void SetObjects(std::size_t count) noexcept { m_enough.store(std::max(MinStale, count / WorthOfAll)); }

    /// Reports that an object found its values stale. True: readAll has run, so the values may be fresh now.
    /// @param values  the aspect of the values
    bool OnStale(XAspect values) noexcept;
    /// Starts counting again: values became stale without the clock, by a direct notification.
    void Restart() noexcept;
    const std::shared_ptr<XCallCosts>& Costs() const noexcept { return m_costs; }

private:
    static constexpr std::size_t MinStale = 2;
    /// Reading all types costs as much as reading a sixth of them one by one. Each type read so far has cost two calls,
    /// so reading a twelfth has cost the same.
    static constexpr std::size_t WorthOfAll = 12;
    bool Begin() noexcept;

    const XClockPtr m_clock;
    const XAspectSet m_values;
    const std::shared_ptr<XCallCosts> m_costs;
    const std::function<void()> m_readAll;
    std::atomic<std::size_t> m_enough{MinStale};
    XLeafMutex m_mutex;
    std::uint64_t m_now LX_GUARDED_BY(m_mutex) = 0; ///< the sum of the clock's numbers: a state of the server
    std::size_t m_found LX_GUARDED_BY(m_mutex) = 0; ///< objects found stale in that state
    bool m_begun LX_GUARDED_BY(m_mutex) = false;    ///< readAll has begun in that state
};

using XRefillPtr = std::shared_ptr<XRefill>;

#endif

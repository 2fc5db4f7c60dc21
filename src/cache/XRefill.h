// SPDX-License-Identifier: MIT
//
// Reading stale values again with few calls.
//
// A notification does not say which object it concerns: it makes the values of all objects of a kind stale, and each
// object reads its own again when it is asked. Where many are asked, one call for a type's components, or for
// everything, costs less than a call for each object, provided that a call costs more than the work around it.
//
// So the first stale object of a type reads alone. The second one at the same time reads all of its type; when a set
// share of the types was read so, the next one reads all types. What these calls bring goes into the stores of the
// objects that are there, with the stamp that was noted before the call. Sets and server objects stay as they are, and
// a value that does not come is asked for object by object.
//
// Ownership  A refill is shared by its objects and refers weakly to who reads for it.
// Threading  Any thread may call anything. Nobody waits for a refill that another thread has under way: a notification
//            callback may read an object while the server waits for it.
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

/// What calls to a server cost, and whether it pays to make few.
class XCallCosts {
public:
    XCallCosts();

    void Note(std::chrono::steady_clock::duration call) noexcept;
    /// Makes a call to the server and notes what it cost.
    template <class Call> HRESULT Timed(Call&& call) {
        const auto start = std::chrono::steady_clock::now();
        const HRESULT result = call();
        Note(std::chrono::steady_clock::now() - start);
        return result;
    }
    /// Whether a call costs more than what a call for many objects has to do for those that nobody asks for. Decided by
    /// the median of recent calls: single ones are slow for other reasons.
    bool AreHigh() const noexcept;

private:
    enum class Choice : unsigned char { ByCost, Always, Never };
    static constexpr std::chrono::microseconds HighCost{100};
    static constexpr std::size_t FewestCalls = 3;

    const Choice m_choice;      ///< by the variable LXREFILL, "always" or "never"
    mutable XLeafMutex m_mutex; // guards what follows
    std::array<std::chrono::steady_clock::duration, 9> m_recent{};
    std::size_t m_calls = 0; ///< of all time
};

class XRefill {
public:
    /// @param clock    of the connection that the objects belong to
    /// @param values   the aspects of what is read
    /// @param costs    shared by all refills of a manager
    /// @param readAll  reads the values of all objects; what it raises is dropped
    XRefill(XClockPtr clock, XAspectSet values, std::shared_ptr<XCallCosts> costs, std::function<void()> readAll)
        : m_clock(std::move(clock)), m_values(values), m_costs(std::move(costs)), m_readAll(std::move(readAll)) {}
    XRefill(const XRefill&) = delete;
    XRefill& operator=(const XRefill&) = delete;

    /// How many objects there are: a share of them is enough to read all. Without it two are.
    void SetObjects(std::size_t count) noexcept { m_enough.store(std::max(FewestStale, count / WorthOfAll)); }

    /// Says that an object has found its values, of that aspect, stale. True: values were read meanwhile, perhaps those
    /// of the object.
    bool OnStale(XAspect values) noexcept;
    /// Says that values became stale by another way than the clock.
    void Restart() noexcept;
    const std::shared_ptr<XCallCosts>& Costs() const noexcept { return m_costs; }

private:
    static constexpr std::size_t FewestStale = 2;
    /// A call for everything costs what a sixth of the types costs, type by type with two calls each.
    static constexpr std::size_t WorthOfAll = 12;
    bool Begin() noexcept;

    const XClockPtr m_clock;
    const XAspectSet m_values;
    const std::shared_ptr<XCallCosts> m_costs;
    const std::function<void()> m_readAll;
    std::atomic<std::size_t> m_enough{FewestStale};
    XLeafMutex m_mutex;      // guards what follows
    std::uint64_t m_now = 0; ///< names a state of the server: the sum of the clock's numbers
    std::size_t m_found = 0; ///< objects that were found stale in it
    bool m_begun = false;    ///< all were read in it, or are being read
};

using XRefillPtr = std::shared_ptr<XRefill>;

#endif

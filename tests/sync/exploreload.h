// SPDX-License-Identifier: MIT
//
// The common part of the explorations of the load protocol: the production templates with ExploringSync, and the
// injected faults that an exploration must find.
#ifndef EXPLORELOAD_H
#define EXPLORELOAD_H

#include "XLoaded.h"
#include "explore.h"

#include <gtest/gtest.h>

namespace ExploredLoad {
constexpr XAspect Aspect = XAspect::PlanTypes;
using Clock = XBasicClock<ExploringSync>;
using Fill = XBasicFill<ExploringSync>;
using Number = ExploringSync::Atomic<int>;

enum class Fault {
    None,
    LateStamp,      ///< the stamp is taken after the server was asked
    TwoSteps,       ///< the stamp is published before the value
    AnyStamp,       ///< older data may replace newer data
    AnyTime,        ///< the connection is not compared
    OwnLast,        ///< the own count is read after the direct number
    DirectLast,     ///< a notification stores the direct number after it advances the own count
    ForgottenOwner, ///< publishing children ignores the owner's direct number
    UnknownNumber,  ///< a published child does not take over the owner's direct number
    ContentFirst,   ///< a map's content number and stamp are published before the map
    NoContent,      ///< a map does not record the content that it merged
    LateCheck,      ///< the numbers that a check refers to are read after the check
    TakenRecords,   ///< a map is published without records that another thread has taken
    AnyBase,        ///< a map merged with older content of its base replaces a newer one
    EpochFirst      ///< the epoch is advanced before the own count
};

template <Fault fault> using FaultConstant = std::integral_constant<Fault, fault>;
template <Fault fault> constexpr FaultConstant<fault> With{};

template <Fault fault> struct Time : XBasicTime<Clock> {
    bool IsSame(const Time& other) const noexcept {
        return fault == Fault::AnyTime || XBasicTime<Clock>::IsSame(other);
    }
};
template <Fault fault> Time<fault> NewTime() { return {{XLXComPtr<Clock>(new Clock), Aspect}}; }

/// The production guard, which also checks that older data never replaces published data.
template <class Data, Fault fault> class CheckedGuard {
public:
    template <class Use> decltype(auto) Read(Use&& use) const { return m_inner.Read(std::forward<Use>(use)); }
    template <class Use> decltype(auto) Write(Use&& use) {
        SecondStep second{m_inner};
        return m_inner.Write([&](Data& data) {
            const Check check{data, second};
            data.stamp = fault == Fault::AnyStamp ? XStamp{} : data.stamp;
            return use(data);
        });
    }

private:
    using Inner = XMutexGuarded<Data, ExploringSync>;
    struct SecondStep {
        ~SecondStep() {
            if (value) {
                inner.Write([&](Data& data) { data.value = value; });
            }
        }
        Inner& inner;
        decltype(Data::value) value = {};
    };
    struct Check {
        ~Check() {
            const bool isReplaced = before && data.value && before != data.value;
            Explorer::Expect(!isReplaced || data.stamp.IsNone() || !data.stamp.IsOlderThan(stamp),
                             "replaced by something older");
            if (fault == Fault::TwoSteps && data.value != before) { second.value = std::exchange(data.value, before); }
        }
        Data& data;
        SecondStep& second;
        const decltype(Data::value) before = data.value;
        const XStamp stamp = data.stamp;
    };

    Inner m_inner;
};

template <class T, Fault fault>
using Loaded = XBasicLoaded<T, Time<fault>, CheckedGuard<XPublished<T, Time<fault>>, fault>, ExploringSync>;

template <class World> constexpr bool HasFault = true;
template <template <Fault> class World> constexpr bool HasFault<World<Fault::None>> = false;

#ifdef _WIN32
constexpr bool ExploreFewer = true; // switching threads is several times slower there; the code is the same
#else
constexpr bool ExploreFewer = false;
#endif

/// @param preemptions  reduced where switching is slow, unless World has a fault to find
template <class World>
Explorer::Result Explore(unsigned preemptions,
                         const std::vector<std::function<void(std::type_identity_t<World>&)>>& bodies,
                         const std::type_identity_t<std::function<void(World&)>>& check = {}) {
    const bool isBounded = ExploreFewer && !HasFault<World>;
    return Explorer({.preemptions = isBounded ? 1 : preemptions}).Run([] { return World(); }, bodies, check);
}

/// @param least  the minimum number of schedules with all preemptions
inline void ExpectExplored(const Explorer::Result& result, std::uint64_t least) {
    EXPECT_EQ("", result.failure) << result;
    EXPECT_TRUE(result.complete);
    EXPECT_GE(result.schedules, ExploreFewer ? 15 : least);
}

inline constexpr const char* Older = "older than a notification that returned before the question";
inline constexpr const char* Lost = "a notification is lost";
} // namespace ExploredLoad

#endif

// SPDX-License-Identifier: MIT
//
// What explorations of the load protocol share: the production templates over ExploringSync, and the faults that are
// put in to see that an exploration finds them.
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
    LateNote,       ///< the stamp is noted after the server was asked
    TwoSteps,       ///< a stamp is published before its value
    AnyStamp,       ///< what is published replaces what is newer
    AnyTime,        ///< whose time it is is not looked at
    OwnLast,        ///< the own count is read after the direct number
    DirectLast,     ///< a notification stores the direct number after it advanced the own count
    ForgottenOwner, ///< who publishes children does not look at the owner's direct number
    UnknownNumber,  ///< a child does not learn of the last notification to its owner when it is published
    ContentFirst,   ///< a map's content number and stamp are published before the map
    NoContent,      ///< a map does not remember what it merged
    LateCheck,      ///< what a check was of is noted after it
    TakenRecords,   ///< a map is published without records when another thread has taken them
    AnyBase,        ///< a map merged with an older content of its base replaces a newer one
    EpochFirst      ///< the epoch is raised before the own count
};

template <Fault fault> using FaultConstant = std::integral_constant<Fault, fault>;
template <Fault fault> constexpr FaultConstant<fault> With{};

template <Fault fault> struct Time : XBasicTime<Clock> {
    bool IsSame(const Time& other) const noexcept {
        return fault == Fault::AnyTime || XBasicTime<Clock>::IsSame(other);
    }
};
template <Fault fault> Time<fault> NewTime() { return {{XLXComPtr<Clock>(new Clock), Aspect}}; }

/// The production guard, which also checks that nothing older replaces what is published.
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
constexpr bool ExploreFewer = true; // handing the turn over takes several times as long there; the code is the same
#else
constexpr bool ExploreFewer = false;
#endif

/// @param preemptions  fewer are tried where it takes long, unless a fault is to be found
template <class World>
Explorer::Result Explore(unsigned preemptions,
                         const std::vector<std::function<void(std::type_identity_t<World>&)>>& bodies,
                         const std::type_identity_t<std::function<void(World&)>>& check = {}) {
    const bool isBounded = ExploreFewer && !HasFault<World>;
    return Explorer({.preemptions = isBounded ? 1 : preemptions}).Run([] { return World(); }, bodies, check);
}

/// @param least  schedules that there must be at the full number of preemptions
inline void ExpectExplored(const Explorer::Result& result, std::uint64_t least) {
    EXPECT_EQ("", result.failure) << result;
    EXPECT_TRUE(result.complete);
    EXPECT_GE(result.schedules, ExploreFewer ? 15 : least);
}

inline constexpr const char* Older = "older than a notification that returned before the question";
inline constexpr const char* Lost = "a notification is lost";
} // namespace ExploredLoad

#endif

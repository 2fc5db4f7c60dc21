// SPDX-License-Identifier: MIT
//
// The common part of the explorations of the load protocol: the production templates with ExploringSync.
#ifndef EXPLORELOAD_H
#define EXPLORELOAD_H

#include "XLoaded.h"
#include "explore.h"

namespace ExploredLoad {
constexpr XAspect Aspect = XAspect::PlanTypes;
using Clock = XBasicClock<ExploringSync>;
using Fill = XBasicFill<ExploringSync>;
using Number = ExploringSync::Atomic<int>;
using Time = XBasicTime<Clock>;

inline Time NewTime() { return {XLXComPtr<Clock>(new Clock), Aspect}; }

/// The production guard, which also checks that older data never replaces published data.
template <class Data> class CheckedGuard {
public:
    template <class Use> decltype(auto) Read(Use&& use) const { return m_inner.Read(std::forward<Use>(use)); }
    template <class Use> decltype(auto) Write(Use&& use) {
        return m_inner.Write([&](Data& data) {
            const Check check{data};
            return use(data);
        });
    }

private:
    struct Check {
        ~Check() {
            const bool isReplaced = before && data.value && before != data.value;
            Explorer::Expect(!isReplaced || data.stamp.IsNone() || !data.stamp.IsOlderThan(stamp),
                             "replaced by something older");
        }
        Data& data;
        const decltype(Data::value) before = data.value;
        const XStamp stamp = data.stamp;
    };

    XMutexGuarded<Data, ExploringSync> m_inner;
};

template <class T> using Loaded = XBasicLoaded<T, Time, CheckedGuard<XPublished<T, Time>>, ExploringSync>;

inline constexpr const char* Older = "older than a notification that returned before the question";
inline constexpr const char* Lost = "a notification is lost";
} // namespace ExploredLoad

#endif

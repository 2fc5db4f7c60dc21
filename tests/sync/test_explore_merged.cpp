// SPDX-License-Identifier: MIT
//
// All interleavings of readers and notifications of a map that is merged with its base. The remembered check and the
// recorded content of the base must never hide stale data.
#include "exploreload.h"

namespace {
using namespace ExploredLoad;

/// Follows the protocol of component maps; see XMapInheritedComp.
template <Fault fault = Fault::None> struct Chain {
    struct Records {
        int values = 0; ///< 0: none
        XStamp stamp;
    };
    struct State {
        int values = 0;
        int inherited = 0;
        std::uint64_t content = 0;
        std::uint64_t baseContent = 0;
        XStamp stamp;
        Records delivered;
    };
    struct Map {
        XBasicOwnCount<ExploringSync> own;
        Fill::Mutex fill;
        XMutexGuarded<State, ExploringSync> state;
    };
    using Count = ExploringSync::Atomic<std::uint64_t>;

    XStamp Now(const Map& map) const { return {time.Now(), map.own.Now()}; }
    std::uint64_t Check() const { return epoch.load() + time.Now(); }
    std::uint64_t Content(const Map& map) const {
        return map.state.Read([](const State& state) { return state.content; });
    }
    bool IsCurrent(const Map& map, std::uint64_t baseContent, std::uint64_t& content) const {
        const XStamp now = Now(map);
        return map.state.Read([&](const State& state) {
            content = state.content;
            return state.stamp == now && (fault == Fault::NoContent || state.baseContent == baseContent);
        });
    }
    bool IsComplete() {
        const std::uint64_t check = Check();
        if (checkedAt.load() == check) { return true; }
        std::uint64_t content = 0;
        if (!IsCurrent(base, content, content) || !IsCurrent(derived, content, content)) { return false; }
        checkedAt.store(fault == Fault::LateCheck ? Check() : check);
        return true;
    }
    bool EnsureCurrent(Map& map, const Map* above) {
        const auto isCurrent = [&] {
            std::uint64_t content = 0;
            return IsCurrent(map, above != nullptr ? Content(*above) : 0, content);
        };
        if (isCurrent()) { return true; }
        const Fill fill(map.fill, &map);
        return fill.IsReentered() || isCurrent() || Complete(map, above);
    }
    bool Complete(Map& map, const Map* above) {
        State fresh;
        if (above != nullptr) {
            fresh = above->state.Read([](const State& state) { return state; });
            fresh.inherited = fresh.values;
            fresh.baseContent = fresh.content;
        }
        const Records records = TakeRecords(map);
        if (fault != Fault::TakenRecords && records.stamp.IsNone()) { return false; }
        fresh.values = records.values;
        fresh.stamp = records.stamp;
        Publish(map, fresh);
        epoch.fetch_add(1);
        return true;
    }
    Records TakeRecords(Map& map) {
        const auto take = [&] {
            return map.state.Write([](State& state) { return std::exchange(state.delivered, Records()); });
        };
        if (const Records waiting = take(); waiting.stamp == Now(map)) { return waiting; }
        const XStamp stamp = Now(map);
        const Records records{server.load(), stamp};
        map.state.Write([&](State& state) {
            if (!stamp.IsOlderThan(state.delivered.stamp) && !stamp.IsOlderThan(state.stamp)) {
                state.delivered = records;
                state.stamp = {};
            }
        });
        epoch.fetch_add(1);
        return take();
    }
    void Publish(Map& map, const State& fresh) {
        const auto publish = [&](bool withMap) {
            map.state.Write([&](State& state) {
                const bool isBaseOlder = fault != Fault::AnyBase && fresh.baseContent < state.baseContent;
                if (isBaseOlder || fresh.stamp.IsOlderThan(state.stamp)) { return; }
                const State former = std::exchange(state, fresh);
                state.values = withMap ? fresh.values : former.values;
                state.content = fault == Fault::ContentFirst && withMap ? former.content : lastContent.fetch_add(1) + 1;
                state.delivered = former.delivered;
                state.stamp = former.delivered.stamp.IsNone() ? fresh.stamp : XStamp{};
            });
        };
        if (fault == Fault::ContentFirst) { publish(false); }
        publish(true);
    }
    void Ask() {
        Explorer::Step("ask");
        const int least = notified;
        for (int attempt = 0; attempt < 3 && !IsComplete(); ++attempt) {
            if (EnsureCurrent(base, nullptr) && EnsureCurrent(derived, &base)) { break; }
        }
        derived.state.Read([&](const State& state) {
            Explorer::Expect(state.values > 0, "the map is empty");
            Explorer::Expect(state.values >= least && state.inherited >= least, Older);
        });
    }
    void AskInside() {
        const Fill fill(otherMutex, &otherMutex);
        Ask();
    }
    void AskTwice() {
        Ask();
        Ask();
    }
    void ChangeAndAdvanceClock() {
        server.store(2);
        time.clock->Advance(Aspect);
        notified = 2;
    }
    /// A direct notification to both types.
    void ChangeAndAdvanceOwn() {
        server.store(2);
        for (Map* const map : {&derived, &base}) {
            if (fault == Fault::EpochFirst) { epoch.fetch_add(1); }
            map->own.Advance();
            if (fault != Fault::EpochFirst) { epoch.fetch_add(1); }
        }
        notified = 2;
    }
    void CheckEnd() {
        Ask();
        Explorer::Expect(derived.state.Read([](const State& state) { return state.inherited; }) == server, Lost);
    }

    const Time<fault> time = NewTime<fault>();
    Number server{1};
    int notified = 1;
    Count epoch{1};
    Count lastContent{0};
    Count checkedAt{0};
    Map base;
    Map derived;
    Fill::Mutex otherMutex;
};

TEST(ExploredLoads, AMergedMapAndANotification) {
    using World = Chain<>;
    for (const auto change : {&World::ChangeAndAdvanceClock, &World::ChangeAndAdvanceOwn}) {
        ExpectExplored(Explore<World>(3, {&World::AskTwice, change}, &World::CheckEnd), 200);
        ExpectExplored(Explore<World>(1, {&World::Ask, &World::AskTwice, change}, &World::CheckEnd), 500);
        ExpectExplored(Explore<World>(1, {&World::Ask, &World::AskInside, change}, &World::CheckEnd), 500);
        const auto changeAndAsk = [=](World& w) {
            (w.*change)();
            w.AskInside();
        };
        ExpectExplored(Explore<World>(2, {&World::Ask, changeAndAsk}, &World::CheckEnd), 5000);
    }
    const auto found = []<Fault fault>(FaultConstant<fault>) {
        using Faulty = Chain<fault>;
        return Explore<Faulty>(2, {&Faulty::AskTwice, &Faulty::AskTwice, &Faulty::ChangeAndAdvanceOwn},
                               &Faulty::CheckEnd)
            .failure;
    };
    EXPECT_EQ(Older, found(With<Fault::ContentFirst>));
    EXPECT_EQ(Older, found(With<Fault::NoContent>));
    EXPECT_EQ(Older, found(With<Fault::LateCheck>));
    EXPECT_EQ(Older, found(With<Fault::EpochFirst>));
    using Taken = Chain<Fault::TakenRecords>;
    EXPECT_EQ("the map is empty", Explore<Taken>(2, {&Taken::Ask, &Taken::AskInside}).failure);
    using AnyBase = Chain<Fault::AnyBase>;
    const auto changeAndAskAnyBase = [](AnyBase& w) {
        w.ChangeAndAdvanceClock();
        w.AskInside();
    };
    EXPECT_EQ(Older, Explore<AnyBase>(2, {&AnyBase::Ask, changeAndAskAnyBase}).failure);
}
} // namespace

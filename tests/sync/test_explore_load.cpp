// SPDX-License-Identifier: MIT
//
// All interleavings of loads of one value. Nobody gets data older than a notification that returned before the request,
// no data outlives its connection, and servers may call back.
#include "exploreload.h"

namespace {
using namespace ExploredLoad;

template <Fault fault = Fault::None> struct Loading {
    using Value = std::shared_ptr<const int>;

    Loading() { loaded.Begin(time); }
    Value AskServer() { return std::make_shared<const int>(server.load()); }
    Value Load() {
        if constexpr (fault == Fault::LateStamp) {
            if (const Value fresh = loaded.Fresh()) { return fresh; }
            const Value answer = AskServer();
            loaded.Publish(time, answer, {time.Now(), loaded.Own().Now()}, [](const auto&...) {});
            return answer;
        }
        return loaded.Load(time, [this] { return AskServer(); });
    }
    void Ask() {
        Explorer::Step("ask");
        const int least = notified;
        Explorer::Expect(*Load() >= least, Older);
    }
    /// Looks at the cached value without loading it.
    void Look() {
        Explorer::Step("look");
        const int least = notified;
        const Value fresh = loaded.Fresh();
        Explorer::Expect(!fresh || *fresh >= least, Older);
    }
    /// Asks on a thread that is already loading something else, and so waits for nobody.
    void AskInside() {
        const Fill fill(otherMutex, &otherMutex);
        Ask();
    }
    template <class Notification> void Change(Notification notify) {
        server.store(2);
        notify();
        notified = 2;
    }
    void ChangeAndAdvanceClock() {
        Change([this] { time.clock->Advance(Aspect); });
    }
    void ChangeAndAdvanceOwn() {
        Change([this] { loaded.Advance(); });
    }
    void ChangeAndClear() {
        Change([this] { loaded.Clear(); });
    }
    /// A change that this process makes itself.
    void ChangeInPlace() {
        Change([this] { loaded.Change([](const int&, bool&) { return std::make_shared<const int>(2); }); });
    }
    void CheckEnd() {
        const Value fresh = loaded.Fresh();
        Explorer::Expect(!fresh || *fresh == server, Lost);
        Explorer::Expect(*Load() == server, Lost);
    }
    /// A new connection replaces the first one.
    void Reconnect(bool ends) {
        if (ends) {
            loaded.End(time);
            Explorer::Expect(!loaded.Held(), "held after the end");
        }
        loaded.Begin(next);
        const auto held = loaded.Held();
        const int got = *loaded.Load(next, [] { return std::make_shared<const int>(7); });
        Explorer::Expect(!held && got == 7 && *loaded.Held() == 7, "held in the next time");
    }

    const Time<fault> time = NewTime<fault>();
    const Time<fault> next = NewTime<fault>();
    Number server{1};
    int notified = 1;
    Fill::Mutex otherMutex;
    Loaded<int, fault> loaded;
};

template <Fault fault = Fault::None> Explorer::Result AskBeside(void (Loading<fault>::*change)(), bool inside) {
    using World = Loading<fault>;
    return Explore<World>(2, {&World::Ask, inside ? &World::AskInside : &World::Ask, change}, &World::CheckEnd);
}

TEST(ExploredLoads, TwoAskersAndANotification) {
    using World = Loading<>;
    for (const bool inside : {false, true}) {
        for (const auto change : {&World::ChangeAndAdvanceClock, &World::ChangeAndAdvanceOwn, &World::ChangeAndClear}) {
            ExpectExplored(AskBeside(change, inside), 500);
        }
    }
    using Late = Loading<Fault::LateStamp>;
    EXPECT_EQ(Lost, AskBeside(&Late::ChangeAndAdvanceClock, false).failure);
    EXPECT_EQ(Lost, AskBeside(&Late::ChangeAndAdvanceOwn, false).failure);
    const auto lookBeside = []<Fault fault>(FaultConstant<fault>) {
        using Faulty = Loading<fault>;
        const auto twice = [](Faulty& w) {
            w.Ask();
            w.Ask();
        };
        return Explore<Faulty>(2, {twice, &Faulty::Look, &Faulty::ChangeAndAdvanceClock}, &Faulty::CheckEnd);
    };
    ExpectExplored(lookBeside(With<Fault::None>), 500);
    EXPECT_EQ(Older, lookBeside(With<Fault::TwoSteps>).failure);
    EXPECT_EQ("replaced by something older", AskBeside(&Loading<Fault::AnyStamp>::ChangeAndAdvanceClock, true).failure);
}

// Of three askers the last one takes the answer of the second, which a notification may have overtaken; but never that
// of a load that began before the question.
TEST(ExploredLoads, ThreeAskersAndNotifications) {
    using World = Loading<>;
    const auto changeTwice = [](World& w) {
        w.ChangeAndAdvanceClock();
        w.time.clock->Advance(Aspect);
    };
    ExpectExplored(Explore<World>(2, {&World::Ask, &World::Ask, &World::Ask, changeTwice}, &World::CheckEnd), 2000);
}

TEST(ExploredLoads, AnAskerAndTheEndOfItsTime) {
    const auto explore = []<Fault fault>(bool ends, FaultConstant<fault>) {
        using World = Loading<fault>;
        return Explore<World>(2, {&World::Ask, &World::AskInside, [=](World& w) { w.Reconnect(ends); }},
                              [](World& w) { Explorer::Expect(*w.loaded.Held() == 7, "an old answer"); });
    };
    for (const bool ends : {false, true}) {
        ExpectExplored(explore(ends, With<Fault::None>), 2000);
        EXPECT_EQ("held in the next time", explore(ends, With<Fault::AnyTime>).failure);
    }
}

TEST(ExploredLoads, AChangeOfThisProcessBesideAskersAndANotification) {
    using World = Loading<>;
    ExpectExplored(AskBeside(&World::ChangeInPlace, false), 500);
    ExpectExplored(AskBeside(&World::ChangeInPlace, true), 500);
    const auto edit = [](World& w) {
        w.Ask();
        w.loaded.Change([](const int& value, bool&) { return std::make_shared<const int>(value); });
    };
    for (const auto change : {&World::ChangeAndAdvanceClock, &World::ChangeAndAdvanceOwn}) {
        ExpectExplored(Explore<World>(4, {edit, change}, &World::CheckEnd), 100);
    }
}

// ---- servers that call back

struct Crosswise {
    Crosswise() {
        for (auto& holder : loaded) {
            holder.Begin(time);
        }
    }
    /// The server requests the other value before it answers.
    std::shared_ptr<const int> Ask(std::size_t which) {
        return loaded[which].Load(time, [this, which] {
            const auto other = Ask(1 - which);
            return std::make_shared<const int>(server.load() + (other ? 10 : 0));
        });
    }
    void AskAndCheck(std::size_t which) {
        Explorer::Step("ask");
        const int least = notified;
        const auto answer = Ask(which);
        Explorer::Expect(answer != nullptr, "no answer");
        Explorer::Expect(*answer % 10 >= least, Older);
    }
    void Change() {
        server.store(2);
        time.clock->Advance(Aspect);
        notified = 2;
    }

    const Time<Fault::None> time = NewTime<Fault::None>();
    Number server{1};
    int notified = 1;
    Loaded<int, Fault::None> loaded[2];
};

TEST(ExploredLoads, ServersThatAskBackCrosswise) {
    const auto first = [](Crosswise& w) { w.AskAndCheck(0); };
    const auto second = [](Crosswise& w) { w.AskAndCheck(1); };
    ExpectExplored(Explore<Crosswise>(3, {first, second}), 2000);
    ExpectExplored(Explore<Crosswise>(2, {first, second, &Crosswise::Change}), 2000);
}
} // namespace

// SPDX-License-Identifier: MIT
//
// All interleavings of loads of one value. No thread gets data older than a notification that returned before its
// request, no data outlives its connection, and servers may call back.
#include "exploreload.h"

namespace {
using namespace ExploredLoad;

struct Loading {
    using Value = std::shared_ptr<const int>;

    Loading() {
        loaded.Begin(time);
        other.Begin(time);
    }
    Value Load() {
        return loaded.Load(time, [this](const XStamp&) { return std::make_shared<const int>(server.load()); });
    }
    void Ask() {
        Explorer::Step("ask");
        const int least = notified;
        Explorer::Expect(*Load() >= least, Older);
    }
    /// The server requests the other of the two values before it answers.
    Value LoadCrosswise(bool isOther) {
        return (isOther ? other : loaded).Load(time, [=, this](const XStamp&) {
            LoadCrosswise(!isOther);
            return std::make_shared<const int>(server.load());
        });
    }
    template <bool IsOther> void AskCrosswise() {
        Explorer::Step("ask");
        const int least = notified;
        const Value answer = LoadCrosswise(IsOther);
        Explorer::Expect(answer != nullptr, "no answer");
        Explorer::Expect(!answer || *answer >= least, Older);
    }
    /// Looks at the cached value without loading it.
    void Look() {
        Explorer::Step("look");
        const int least = notified;
        const Value fresh = loaded.Fresh();
        Explorer::Expect(!fresh || *fresh >= least, Older);
    }
    /// Asks on a thread that is already loading something else and therefore does not wait.
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
        const int got = *loaded.Load(next, [](const XStamp&) { return std::make_shared<const int>(7); });
        Explorer::Expect(!held && got == 7 && *loaded.Held() == 7, "held in the next time");
    }

    const Time time = NewTime();
    const Time next = NewTime();
    Number server{1};
    int notified = 1;
    Fill::Mutex otherMutex;
    Loaded<int> loaded;
    Loaded<int> other;
};

TEST(ExploredLoads, TwoQueriesAndANotification) {
    for (const auto second : {&Loading::Ask, &Loading::AskInside}) {
        for (const auto change : {&Loading::ChangeAndAdvanceClock, &Loading::ChangeAndAdvanceOwn,
                                  &Loading::ChangeAndClear, &Loading::ChangeInPlace}) {
            ExpectExplored<Loading>(2, 500, {&Loading::Ask, second, change}, &Loading::CheckEnd);
        }
    }
    const auto twice = [](Loading& w) {
        w.Ask();
        w.Ask();
    };
    ExpectExplored<Loading>(2, 500, {twice, &Loading::Look, &Loading::ChangeAndAdvanceClock}, &Loading::CheckEnd);
}

// Of three queries the last one takes the answer of the second, which a notification may have overtaken, but never the
// answer of a load that began before the last query.
TEST(ExploredLoads, ThreeQueriesAndNotifications) {
    const auto changeTwice = [](Loading& w) {
        w.ChangeAndAdvanceClock();
        w.time.clock->Advance(Aspect);
    };
    ExpectExplored<Loading>(2, 2000, {&Loading::Ask, &Loading::Ask, &Loading::Ask, changeTwice}, &Loading::CheckEnd);
}

TEST(ExploredLoads, AQueryAndTheEndOfItsConnection) {
    for (const bool ends : {false, true}) {
        ExpectExplored<Loading>(2, 2000, {&Loading::Ask, &Loading::AskInside, [=](Loading& w) { w.Reconnect(ends); }},
                                [](Loading& w) { Explorer::Expect(*w.loaded.Held() == 7, "an old answer"); });
    }
}

TEST(ExploredLoads, AChangeOfThisProcessThatANotificationOvertakes) {
    const auto edit = [](Loading& w) {
        w.Ask();
        w.loaded.Change([](const int& value, bool&) { return std::make_shared<const int>(value); });
    };
    for (const auto change : {&Loading::ChangeAndAdvanceClock, &Loading::ChangeAndAdvanceOwn}) {
        ExpectExplored<Loading>(4, 100, {edit, change}, &Loading::CheckEnd);
    }
}

TEST(ExploredLoads, ServersThatCallBackCrosswise) {
    ExpectExplored<Loading>(3, 2000, {&Loading::AskCrosswise<false>, &Loading::AskCrosswise<true>});
    ExpectExplored<Loading>(
        2, 2000, {&Loading::AskCrosswise<false>, &Loading::AskCrosswise<true>, &Loading::ChangeAndAdvanceClock});
}

// Otherwise a thread that loads again and again could overtake the others for ever.
TEST(ExploredFills, AWaitingThreadGetsTheMutexBeforeANewRequest) {
    struct Queue {
        Fill::Mutex mutex;
        bool isAwaited = false;
        bool isServed = false;
    };
    unsigned awaited = 0;
    const auto fillTwice = [](Queue& w) {
        {
            const Fill fill(w.mutex, &w);
            w.isAwaited = w.mutex.HasWaiting();
        }
        const Fill fill(w.mutex, &w);
        Explorer::Expect(!w.isAwaited || w.isServed, "a waiting thread was overtaken");
    };
    const auto fillOnce = [](Queue& w) {
        const Fill fill(w.mutex, &w);
        w.isServed = true;
    };
    ExpectExplored<Queue>(3, 20, {fillTwice, fillOnce}, [&](Queue& w) { awaited += w.isAwaited; });
    EXPECT_GT(awaited, 0u);
}
} // namespace

// SPDX-License-Identifier: MIT
//
// All interleavings of answers for an object and its parts with a direct notification to the object. Values from before
// the notification must not count as fresh.
#include "exploreload.h"

namespace {
using namespace ExploredLoad;

/// Values with a direct number, as in every cached object.
struct Part {
    explicit Part(const Time& time) { values.Begin(time); }

    void Take(const Time& time, const XMoment& moment, int answer) {
        values.Publish(time, std::make_shared<const int>(answer), LXStampFrom(moment, Aspect, values.Own(), direct),
                       [](const auto&...) {});
    }
    void Notify(std::uint64_t number) {
        direct.Raise(number);
        values.Advance();
    }
    void Look(int least, const char* what) const {
        const auto fresh = values.Fresh();
        Explorer::Expect(!fresh || *fresh >= least, what);
    }

    XBasicDirectNumber<ExploringSync> direct;
    Loaded<int> values;
};

struct Family {
    using Child = std::shared_ptr<Part>;

    Family() { children.Begin(time); }
    /// The server's answer and a copy of the clock from before the request.
    int Answer(XMoment& moment) {
        moment = time.clock->Copy();
        return server.load();
    }
    /// Refreshes the held child, or a new one when there is none.
    std::shared_ptr<const Child> Refresh(const XMoment& moment, int answer) {
        const auto held = children.Held();
        const Child child = held ? *held : made[ExploringSync::ThreadId() - 1];
        child->Take(time, moment, answer);
        return std::make_shared<const Child>(child);
    }
    void OnPublish(const Child& child, const XMoment& moment) const {
        child->direct.Raise(owner.direct.Now());
        if (owner.direct.IsNewerThan(moment)) { child->values.Advance(); }
    }
    void TakeBulk() {
        XMoment moment;
        const int answer = Answer(moment);
        owner.Take(time, moment, answer);
        const XStamp stamp = LXStampFrom(moment, Aspect, children.Own(), owner.direct);
        children.Publish(time, Refresh(moment, answer), stamp,
                         [&](const Child& child, const auto&) { OnPublish(child, moment); });
    }
    void LoadChildren() {
        XMoment moment;
        children.Load(
            time,
            [&](const XStamp&) {
                const int answer = Answer(moment);
                return Refresh(moment, answer);
            },
            [&](const Child& child, const auto&) { OnPublish(child, moment); });
    }
    /// The notification concerns only values; the set of children does not change.
    void ChangeAndNotifyDirectly() {
        server.store(2);
        const std::uint64_t number = time.clock->DrawDirect();
        owner.Notify(number);
        children.ReadHeld([&](const Child* child) {
            if (child != nullptr) { (*child)->Notify(number); }
        });
        notified = 2;
    }
    void ChangeAndAdvanceClock() {
        server.store(2);
        time.clock->Advance(Aspect);
        notified = 2;
    }
    void LookFor(int least, const char* what) const {
        owner.Look(least, what);
        if (const auto held = children.Held()) { (*held)->Look(least, what); }
    }
    void Look() {
        Explorer::Step("look");
        LookFor(notified, Older);
    }
    void CheckEnd() { LookFor(server, Lost); }

    const Time time = NewTime();
    Number server{1};
    int notified = 1;
    Part owner{time};
    const Child made[2] = {std::make_shared<Part>(time), std::make_shared<Part>(time)};
    Loaded<Child> children;
};

// LoadChildren loads the children's values before it publishes the children, where a notification finds them.
TEST(ExploredLoads, AnAnswerForAnObjectAndItsPartsAndANotification) {
    for (const auto answer : {&Family::TakeBulk, &Family::LoadChildren}) {
        for (const auto change : {&Family::ChangeAndNotifyDirectly, &Family::ChangeAndAdvanceClock}) {
            ExpectExplored<Family>(3, 500, {answer, change}, &Family::CheckEnd);
            ExpectExplored<Family>(1, 500, {answer, answer, change, &Family::Look}, &Family::CheckEnd);
        }
    }
}
} // namespace

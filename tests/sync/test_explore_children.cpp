// SPDX-License-Identifier: MIT
//
// All interleavings of answers for an object and its parts with a direct notification to the object. Values from before
// the notification must not count as fresh.
#include "exploreload.h"

namespace {
using namespace ExploredLoad;

/// Values with a direct number, as in every cached object.
template <Fault fault> struct Part {
    explicit Part(const Time<fault>& time) { values.Begin(time); }

    void Take(const Time<fault>& time, const XMoment& moment, int answer) {
        XStamp stamp;
        if constexpr (fault == Fault::OwnLast) {
            stamp = direct.IsNewerThan(moment) ? XStamp{} : XStamp{moment.At(Aspect), values.Own().Now()};
        } else {
            stamp = LXStampFrom(moment, Aspect, values.Own(), direct);
        }
        values.Publish(time, std::make_shared<const int>(answer), stamp, [](const auto&...) {});
    }
    void Notify(std::uint64_t number) {
        if (fault == Fault::DirectLast) { values.Advance(); }
        direct.Raise(number);
        if (fault != Fault::DirectLast) { values.Advance(); }
    }
    void Look(int least, const char* what) const {
        const auto fresh = values.Fresh();
        Explorer::Expect(!fresh || *fresh >= least, what);
    }

    XBasicDirectNumber<ExploringSync> direct;
    Loaded<int, fault> values;
};

template <Fault fault = Fault::None> struct Family {
    using Child = std::shared_ptr<Part<fault>>;

    Family() { children.Begin(time); }
    /// The server's answer and a copy of the clock from before the request.
    int Answer(XMoment& moment) {
        const bool isLate = fault == Fault::LateStamp;
        moment = isLate ? moment : time.clock->Copy();
        const int answer = server.load();
        moment = isLate ? time.clock->Copy() : moment;
        return answer;
    }
    /// Refreshes the held child, or a new one when there is none.
    std::shared_ptr<const Child> Refresh(const XMoment& moment, int answer) {
        const auto held = children.Held();
        const Child child = held ? *held : made[ExploringSync::ThreadId() - 1];
        child->Take(time, moment, answer);
        return std::make_shared<const Child>(child);
    }
    void OnPublish(const Child& child, const XMoment& moment) const {
        if (fault != Fault::UnknownNumber) { child->direct.Raise(owner.direct.Now()); }
        if (fault != Fault::ForgottenOwner && owner.direct.IsNewerThan(moment)) { child->values.Advance(); }
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
            [&] {
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

    const Time<fault> time = NewTime<fault>();
    Number server{1};
    int notified = 1;
    Part<fault> owner{time};
    const Child made[2] = {std::make_shared<Part<fault>>(time), std::make_shared<Part<fault>>(time)};
    Loaded<Child, fault> children;
};

template <Fault fault = Fault::None>
Explorer::Result AnswerBeside(void (Family<fault>::*answer)(), void (Family<fault>::*change)()) {
    using World = Family<fault>;
    auto result = Explore<World>(3, {answer, change}, &World::CheckEnd);
    return result.failure.empty() ? Explore<World>(1, {answer, answer, change, &World::Look}, &World::CheckEnd)
                                  : result;
}

TEST(ExploredLoads, ABulkAnswerAndANotificationStraightToAnObject) {
    using World = Family<>;
    ExpectExplored(AnswerBeside(&World::TakeBulk, &World::ChangeAndNotifyDirectly), 1000);
    ExpectExplored(AnswerBeside(&World::TakeBulk, &World::ChangeAndAdvanceClock), 1000);
    const auto found = []<Fault fault>(FaultConstant<fault>) {
        return AnswerBeside(&Family<fault>::TakeBulk, &Family<fault>::ChangeAndNotifyDirectly).failure;
    };
    EXPECT_EQ(Lost, found(With<Fault::LateStamp>));
    EXPECT_EQ(Lost, found(With<Fault::OwnLast>));
    EXPECT_EQ(Lost, found(With<Fault::DirectLast>));
    EXPECT_EQ(Lost, found(With<Fault::ForgottenOwner>));
    EXPECT_EQ(Older, found(With<Fault::UnknownNumber>));
}

// The children's values are loaded before the children are published, where a notification finds them.
TEST(ExploredLoads, ALoadOfChildrenAndANotificationStraightToTheirOwner) {
    using World = Family<>;
    ExpectExplored(AnswerBeside(&World::LoadChildren, &World::ChangeAndNotifyDirectly), 1000);
    ExpectExplored(AnswerBeside(&World::LoadChildren, &World::ChangeAndAdvanceClock), 1000);
    using Forgotten = Family<Fault::ForgottenOwner>;
    EXPECT_EQ(Lost, AnswerBeside(&Forgotten::LoadChildren, &Forgotten::ChangeAndNotifyDirectly).failure);
}

} // namespace

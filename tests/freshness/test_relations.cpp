// SPDX-License-Identifier: MIT
//
// Relations, PC infos and browser ids: data loaded through a replaced server object, unrelated notifications, and
// objects that callers hold.
#include "beside.h"
#include "inside.h"
#include "relationfixture.h"

namespace {
class FreshRelations : public RelationTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RelationTest::SetUp());
        m_desks = Single("Node", "Desk", "nodes");
        ASSERT_EQ(Browsers(), (Names{"List", "Tree"}));
    }

    /// The browsers of the held relation.
    Names Browsers() { return LXList(XProperty::PCInfoBrowser, m_desks, &ILXParentChild::GetPCInfoEnum); }
    XLXComPtr<ILXPCInfo> Info(const char* browser) { return LXGet(m_desks, &ILXParentChild::GetPCInfo, browser); }

    Relation m_desks;
};

TEST_F(FreshRelations, PCInfosLoadedThroughAFormerServerObjectAreStale) {
    Edit().RemoveRelation("Node", "Desk", "nodes", XNotify::No);
    Edit().AddRelation("Node", "Desk", "nodes", 0, false, XNotify::No);
    Edit().AddPCInfo("Node", "Desk", "nodes", "Wide", false, XNotify::No);
    m_server->SendNotification("pc/Node/0/4");
    Browsers(); // the relations have not been reloaded, so the old server object is asked
    EXPECT_EQ(Below("Node", 0, "Wide"), Names{"Desk/nodes"});
    EXPECT_EQ(Below("Node", 0, "Tree"), Names{});
    EXPECT_EQ(Browsers(), Names{"Wide"});
}

// Two threads load the relations, and the server makes one again between their answers. The earlier answer is parsed
// last.
TEST_F(FreshRelations, AnOlderAnswerChangesNoRelationOfANewerOne) {
    const auto remake = [&](const char* label) {
        Edit().RemoveRelation("Node", "Desk", "nodes", XNotify::No);
        Edit().AddRelation("Node", "Desk", "nodes", 0, false, XNotify::No);
        Edit().SetRelationProperty("Node", "Desk", "nodes", XProperty::NameShort, label);
        m_server->SendNotification("pc/Node/0/4");
    };
    const auto label = [&] { return LXNarrow(LXRead(Single("Node", "Desk", "nodes").Get(), XProperty::NameShort)); };
    for (const bool wereRead : {true, false}) {
        SCOPED_TRACE(wereRead ? "refreshed" : "read for the first time");
        Terminate();
        ASSERT_EQ(Start(), S_OK);
        if (wereRead) { label(); }
        remake("old");
        {
            const Inside overtaken(Calls(), "ILXConfigFactory::GetPCArray", [&] {
                remake("new");
                LXBeside([&] { EXPECT_EQ(label(), "new"); }).get();
            });
            label();
        }
        EXPECT_EQ(label(), "new");
    }
}

// Two threads load the relations. The server no longer has one in the answer that is published first.
TEST_F(FreshRelations, ARelationThatEntersTheMapAgainIsCurrentAgain) {
    const auto held = Single("Node", "Desk", "nodes");
    m_server->SendNotification("pc/x/0/4");
    LXRead(held.Get(), XProperty::NameShort); // its values are fresh, the set is not
    {
        const Inside removed(Calls(), "ILXConfigFactory::GetPCArray", [&] {
            Edit().RemoveRelation("Node", "Desk", "nodes", XNotify::No);
            LXBeside([&] { EXPECT_EQ(Below("Node", 0, "Tree"), Names{}); }).get();
        });
        EXPECT_EQ(Below("Node", 0, "Tree"), Names{"Desk/nodes"});
    }
    m_server->SendNotification("properties/x/0/4");
    ExpectCalls(1, [&] { LXRead(held.Get(), XProperty::NameShort); });
}

// Two threads load a new relation, and each creates an object for it.
TEST_F(FreshRelations, ADirectNotificationToAReplacedRelationReachesItsSuccessor) {
    Edit().AddRelation("Node", "Desk", "spare", 0, false, XNotify::No);
    m_server->SendNotification("pc/Node/0/4");
    Relation replaced;
    {
        const Inside overtaken(Calls(), "ILXConfigFactory::GetPCArray",
                               [&] { LXBeside([&] { replaced = Single("Node", "Desk", "spare"); }).get(); });
        Single("Node", "Desk", "spare");
    }
    const auto successor = Single("Node", "Desk", "spare");
    ASSERT_FALSE(replaced == successor);
    Edit().SetRelationProperty("Node", "Desk", "spare", XProperty::NameShort, "new", XNotify::No);
    LXNotifyStraight(replaced, "properties/Node/0/4");
    EXPECT_EQ(LXRead(successor.Get(), XProperty::NameShort), OLESTR("new"));
}

// The same with a new PC info. A notification to the relation reaches its PC infos too.
TEST_F(FreshRelations, ADirectNotificationToAReplacedPCInfoReachesItsSuccessor) {
    Edit().AddPCInfo("Node", "Desk", "nodes", "Wide", false, XNotify::No);
    m_server->SendNotification("pc/Node/0/4");
    XLXComPtr<ILXPCInfo> replaced;
    {
        const Inside overtaken(Calls(), "ILXParentChild::GetPCInfoEnum",
                               [&] { LXBeside([&] { replaced = Info("Wide"); }).get(); });
        Info("Wide");
    }
    const auto successor = Info("Wide");
    ASSERT_FALSE(replaced == successor);
    const auto change = [&](const char* label, const auto& notified) {
        LXRead(successor.Get(), XProperty::PCInfoLabel);
        Edit().SetPCInfoProperty("Node", "Desk", "nodes", "Wide", XProperty::PCInfoLabel, label, XNotify::No);
        LXNotifyStraight(notified, "properties/Node/0/1");
        EXPECT_EQ(LXNarrow(LXRead(successor.Get(), XProperty::PCInfoLabel)), label);
    };
    change("first", replaced);
    change("second", m_desks);
}

TEST_F(FreshRelations, ASearchForPlanTypesThatAnotherThreadDisturbsIsRepeated) {
    m_server->SendNotification("pc/x/0/1");
    {
        const Inside overtaken(Calls(), "ILX_Query::SetSearchAttribute",
                               [&] { LXBeside([&] { EXPECT_EQ(IsPlan("Plan"), S_OK); }).get(); });
        EXPECT_EQ(IsPlan("Plan"), S_OK);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(IsPlan("Plan"), S_OK); });
}

TEST_F(FreshRelations, ASearchForPlanTypesThatIsAlwaysDisturbedAnswersFromTheOtherThreads) {
    bool isBeside = false;
    int disturbed = 0;
    m_server->SendNotification("pc/x/0/1");
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name != "ILX_Query::GetSearchResult" || call.point != XCallPoint::Arrival || isBeside) { return; }
        ++disturbed;
        isBeside = true;
        m_server->SendNotification("pc/x/0/1");
        LXBeside([&] { EXPECT_EQ(IsPlan("Plan"), S_OK); }).get();
        isBeside = false;
    });
    EXPECT_EQ(IsPlan("Plan"), S_OK);
    EXPECT_EQ(disturbed, 4);
}

TEST_F(FreshRelations, AFormerServerObjectThatFailsLeavesNothing) {
    m_server->SendNotification("pc/Node/0/4");
    Calls().FailCall("ILXParentChild::GetPCInfoEnum", E_FAIL);
    EXPECT_EQ(Browsers(), Names{});
    EXPECT_EQ(Below("Node", 0, "Tree"), Names{"Desk/nodes"});
    EXPECT_EQ(Browsers(), (Names{"List", "Tree"}));
}

TEST_F(FreshRelations, APCInfoThatACallerHoldsIsRefreshedByItsBrowser) {
    const auto held = Info("Tree");
    for (const char* label : {"first", "second"}) {
        Edit().SetPCInfoProperty("Node", "Desk", "nodes", "Tree", XProperty::PCInfoLabel, label);
        EXPECT_EQ(LXNarrow(LXRead(held.Get(), XProperty::PCInfoLabel)), label);
        EXPECT_EQ(Info("Tree"), held);
    }
    Edit().RemovePCInfo("Node", "Desk", "nodes", "Tree", XNotify::No);
    Edit().AddPCInfo("Node", "Desk", "nodes", "Tree", false, XNotify::No);
    Edit().SetPCInfoProperty("Node", "Desk", "nodes", "Tree", XProperty::PCInfoLabel, "made anew");
    EXPECT_EQ(Info("Tree"), held);
    EXPECT_EQ(LXRead(held.Get(), XProperty::PCInfoLabel), OLESTR("made anew"));
}

TEST_F(FreshRelations, BrowserIdsAreEnumeratedOnceWhateverElseIsNotifiedMeanwhile) {
    {
        const Inside unrelated(Calls(), "ILXConfigFactory::GetBrowserIdEnum",
                               [&] { m_server->SendNotification("properties/Desk/0/512"); });
        EXPECT_EQ(BrowserIds(), (Names{"List", "Tree"}));
    }
    ExpectCalls(0, [&] { EXPECT_EQ(BrowserIds(), (Names{"List", "Tree"})); });
}

TEST_F(FreshRelations, ADirectNotificationIsNotLostForAPCInfoThatIsBeingFetched) {
    Edit().AddPCInfo("Area", "Room", "nodes", "List");
    const auto rooms = Single("Area", "Room", "nodes");
    const auto labels = [&] { return LXList(XProperty::PCInfoLabel, rooms, &ILXParentChild::GetPCInfoEnum); };
    {
        const Inside overtaken(Calls(), "ILXPCInfo::GetProperties", [&] {
            for (const char* browser : {"List", "Tree"}) {
                Edit().SetPCInfoProperty("Area", "Room", "nodes", browser, XProperty::PCInfoLabel, "new", XNotify::No);
            }
            LXNotifyStraight(rooms, "properties/Area/0/4");
        });
        labels();
    }
    EXPECT_EQ(labels(), (Names{"new", "new"}));
}
} // namespace

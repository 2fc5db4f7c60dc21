// SPDX-License-Identifier: MIT
//
// Direct notifications to an object whose parts are not loaded yet. Then an answer from before the notification creates
// the parts, or finds parts that a newer answer has created.
#include "inside.h"
#include "relationfixture.h"

namespace {
class DirectNotification : public BesideTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(0), S_OK); }
    void TearDown() override { Terminate(); }

    void ChangeHead() { Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "new", XNotify::No); }
    XLXText HeadsLabel() { return LXRead(Attribute("Pump", "Head").Get(), XProperty::Label); }
};

TEST_F(DirectNotification, IsNotLostForAnAttributeThatIsBeingFetched) {
    const auto pump = Type("Pump");
    Attribute("Equipment", "Power"); // loads the bases
    {
        const Inside overtaken(Calls(), "ILXType::GetTypeComponentData", [&] {
            ChangeHead();
            LXNotifyStraight(pump, OLESTR("properties/Pump/0/512"));
        });
        Attribute("Pump", "Head");
    }
    EXPECT_EQ(HeadsLabel(), OLESTR("new"));
}

TEST_F(DirectNotification, IsNotLostForAnAttributeThatAnOlderAnswerRefreshes) {
    const auto pump = Type("Pump");
    Attribute("Equipment", "Power");
    {
        const Inside overtaken(Calls(), "ILXType::GetTypeComponentData", [&] {
            ChangeHead();
            LXNotifyStraight(pump, OLESTR("objects/Pump/0/512"));
            Beside([&] { EXPECT_EQ(HeadsLabel(), OLESTR("new")); }).get();
        });
        Attribute("Pump", "Head"); // the older answer finds the attribute that was added after the notification
    }
    EXPECT_EQ(HeadsLabel(), OLESTR("new"));
}

TEST_F(DirectNotification, IsNotLostForAnAttributeTypeThatIsBeingFetched) {
    const auto title = Attribute("Document", "Title");
    Edit().AddAttributeType("Document", "Title", "Short"); // the held attribute enumerates its types
    const auto labels = [&] {
        return LXList<ILXAttributeType>(XProperty::AttributeTypeLabel, title, &ILXAttribute::GetAttributeTypeEnum);
    };
    {
        const Inside overtaken(Calls(), "ILXAttributeType::GetProperties", [&] {
            Edit().SetAttributeTypeProperty("Document", "Title", "Short", XProperty::AttributeTypeLabel, "new",
                                            XNotify::No);
            LXNotifyStraight(title, OLESTR("properties/Document/0/1024"));
        });
        labels();
    }
    EXPECT_EQ(labels(), std::vector<std::string>{"new"});
}

using DirectNotificationToARelation = RelationTest;

TEST_F(DirectNotificationToARelation, IsNotLostForAPCInfoThatIsBeingFetched) {
    ASSERT_EQ(Start(), S_OK);
    const auto desks = Single("Node", "Desk", "nodes");
    const auto labels = [&] {
        return LXList<ILXPCInfo>(XProperty::PCInfoLabel, desks, &ILXParentChild::GetPCInfoEnum);
    };
    {
        const Inside overtaken(Calls(), "ILXPCInfo::GetProperties", [&] {
            for (const char* browser : {"List", "Tree"}) {
                Edit().SetPCInfoProperty("Node", "Desk", "nodes", browser, XProperty::PCInfoLabel, "new", XNotify::No);
            }
            LXNotifyStraight(desks, OLESTR("properties/Node/0/4"));
        });
        labels();
    }
    EXPECT_EQ(labels(), (Names{"new", "new"}));
    Terminate();
}
} // namespace

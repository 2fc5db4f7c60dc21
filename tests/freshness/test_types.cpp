// SPDX-License-Identifier: MIT
//
// Types, their components and attributes: answers that a notification overtook, answers of replaced server objects, and
// unrelated notifications.
#include "beside.h"
#include "inside.h"

namespace {
class FreshTypes : public CacheTest {
protected:
    static Names AttributeTypes(const XLXComPtr<ILXAttribute>& attribute, int member) {
        return LXList(member, attribute, &ILXAttribute::GetAttributeTypeEnum);
    }
    XLXText ItemsNameThrough(const char* type) { return LXRead(Attribute(type, "Name").Get(), XProperty::Label); }
};

TEST_F(FreshTypes, ValuesOfAttributeTypesThatChangeWhileTheyAreEnumerated) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    m_server->SendNotification("objects/Pump/0/1024"); // the held attribute enumerates them again
    {
        const Inside overtaken(Calls(), "ILXAttributeType::GetProperties", [&] {
            for (const char* name : {"Metres", "Feet"}) {
                Edit().SetAttributeTypeProperty("Pump", "Head", name, XProperty::AttributeTypeLabel, "new");
            }
        });
        LXGet(head, &ILXAttribute::GetAttributeTypeEnum);
    }
    EXPECT_EQ(AttributeTypes(head, XProperty::AttributeTypeLabel), (Names{"new", "new"}));
}

TEST_F(FreshTypes, ARemovedAttributeTypeIsGoneAndAnotherOneStaysTheSameObject) {
    for (const LONG mode : {0, 15}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        ASSERT_EQ(Start(mode), S_OK);
        const auto head = Attribute("Pump", "Head");
        const auto types = [&] { return LXElements(LXGet(head, &ILXAttribute::GetAttributeTypeEnum)); };
        const auto metres = types().at(1); // after Feet
        Edit().RemoveAttributeType("Pump", "Head", "Feet");
        EXPECT_EQ(Attribute("Pump", "Head"), head); // delivers all types of the attribute
        EXPECT_EQ(types(), std::vector{metres});
        EXPECT_EQ(AttributeTypes(head, XProperty::AttributeTypeName), Names{"Metres"});
        Terminate();
        Edit().AddAttributeType("Pump", "Head", "Feet");
    }
}

TEST_F(FreshTypes, AMapThatWasMergedWithAnOlderBaseReplacesNoNewerOne) {
    ASSERT_EQ(Start(0), S_OK);
    const auto base = Type("Item");
    const auto derived = Type("Equipment");
    EXPECT_TRUE(Has(base, "Name"));
    {
        const Inside overtaken(Calls(), "ILXType::GetTypeComponentData", [&] { // the base is already copied
            Edit().AddAttribute("Item", "Colour", 0, XNotify::No);
            LXNotifyStraight(base, "objects/Item/0/512");
            LXBeside([&] { EXPECT_TRUE(Has(derived, "Colour")); }).get();
        });
        EXPECT_TRUE(Has(derived, "Power"));
    }
    ExpectCalls(0, [&] { EXPECT_TRUE(Has(derived, "Colour")); }); // no call: already merged
}

// Two threads load all types. The answer that arrives last is the older one.
TEST_F(FreshTypes, AnOlderAnswerRestoresNoFormerBase) {
    ASSERT_EQ(Start(), S_OK);
    m_server->SendNotification("objects/x/0/1");
    {
        const Inside overtaken(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx", [&] {
            Edit().SetTypeProperty("Pump", XProperty::BaseTypeName, "Item", XNotify::No);
            m_server->SendNotification("objects/Pump/0/1");
            LXBeside([&] { EXPECT_FALSE(Has(Type("Pump"), "Power")); }).get();
        });
        Type("Document");
    }
    EXPECT_FALSE(Has(Type("Pump"), "Power"));
}

// The server makes a type again while its components are read. Another thread reads them from the new type, and the
// former type's answer is parsed last.
TEST_F(FreshTypes, AnAnswerOfAFormerTypeDoesNotReplaceThatOfTheNewOne) {
    const auto remake = [](const char* label) {
        return [label](XServerModel& model) {
            model.types.erase(OLESTR("Remade"));
            XModelType& made = model.AddType("Remade");
            XModelAttribute& attribute = made.AddAttribute("Own", 1);
            attribute.properties.Set(XProperty::Label, label);
            attribute.AddType("Feet").properties.Set(XProperty::AttributeTypeLabel, label);
            made.AddPage(1).properties.Set(XProperty::PageLabel, label);
            made.AddGroup(1, 1).properties.Set(XProperty::GroupLabel, label);
        };
    };
    const struct {
        const char* of;
        std::function<std::string()> label;
    } parts[] = {{"page", [&] { return LXList(XProperty::PageLabel, Type("Remade"), &ILXType::GetPageEnum).at(0); }},
                 {"group", [&] { return LXNarrow(LXRead(Group("Remade", 1).Get(), XProperty::GroupLabel)); }},
                 {"attribute", [&] { return LXNarrow(LXRead(Attribute("Remade", "Own").Get(), XProperty::Label)); }},
                 {"attribute type",
                  [&] { return AttributeTypes(Attribute("Remade", "Own"), XProperty::AttributeTypeLabel).at(0); }}};
    for (const auto& part : parts) {
        const auto& label = part.label;
        for (const char* id : {"objects/Remade/0/2", "searchable/Remade/0/2"}) { // the second one: only type values
            for (const bool wereRead : {false, true}) {
                SCOPED_TRACE(std::string(part.of) + " " + id + (wereRead ? " refreshed" : " read for the first time"));
                Edit().Change(remake("old"), "");
                ASSERT_EQ(Start(0), S_OK);
                if (wereRead) {
                    EXPECT_EQ(label(), "old");
                    m_server->SendNotification("objects/Remade/0/2");
                }
                {
                    const Inside remade(Calls(), "ILXType::GetTypeComponentData", [&] {
                        Edit().Change(remake("new"), id);
                        LXBeside([&] { EXPECT_EQ(label(), "new"); }).get();
                    });
                    label();
                }
                EXPECT_EQ(label(), "new");
                Terminate();
            }
        }
    }
}

TEST_F(FreshTypes, AnUnrelatedNotificationDuringTheFirstBulkReadMakesNothingStale) {
    for (const char* id : {"pc/x/0/4", "properties/x/0/128"}) {
        SCOPED_TRACE(id);
        {
            const Inside unrelated(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                                   [&] { m_server->SendNotification(id); });
            ASSERT_EQ(Start(), S_OK);
        }
        ExpectCalls(0, [&] {
            EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeName), OLESTR("Pump"));
            EXPECT_EQ(ItemsNameThrough("Pump"), OLESTR("Name of the item"));
            EXPECT_EQ(LXRead(Group("Item", 1).Get(), XProperty::GroupLabel), OLESTR("Main"));
            EXPECT_EQ(LXList(XProperty::PageNumber, Type("Item"), &ILXType::GetPageEnum), (Names{"1", "2"}));
        });
        Terminate();
    }
}

TEST_F(FreshTypes, ADirectNotificationToAnotherObjectMakesNothingStale) {
    ASSERT_EQ(Start(), S_OK);
    const auto former = Type("Document");
    Terminate();
    {
        const Inside elsewhere(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                               [&] { LXNotifyStraight(former, "objects/Document/0/1"); });
        ASSERT_EQ(Start(), S_OK);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(ItemsNameThrough("Item"), OLESTR("Name of the item")); });
    LXNotifyStraight(Type("Document"), "objects/Document/0/1");
    ExpectCalls(0, [&] { EXPECT_EQ(ItemsNameThrough("Pump"), OLESTR("Name of the item")); });
}

// An answer from before a direct notification to the type creates the attribute, or finds the one that a newer answer
// has created.
TEST_F(FreshTypes, ADirectNotificationIsNotLostForAnAttributeThatIsBeingFetched) {
    const auto label = [&] { return LXNarrow(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label)); };
    for (const char* const id : {"properties/Pump/0/512", "objects/Pump/0/512"}) {
        SCOPED_TRACE(id);
        ASSERT_EQ(Start(0), S_OK);
        const auto pump = Type("Pump");
        Attribute("Equipment", "Power"); // loads the bases
        {
            const Inside overtaken(Calls(), "ILXType::GetTypeComponentData", [&] {
                Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, id, XNotify::No);
                LXNotifyStraight(pump, id);
                if (*id == 'o') {
                    LXBeside([&] { EXPECT_EQ(label(), id); }).get();
                }
            });
            Attribute("Pump", "Head");
        }
        EXPECT_EQ(label(), id);
        Terminate();
    }
}

TEST_F(FreshTypes, ARemovedAttributeKeepsTheValuesThatItHad) {
    ASSERT_EQ(Start(), S_OK);
    const auto removed = Attribute("Pump", "Head");
    Edit().RemoveAttribute("Pump", "Head", XNotify::No);
    EXPECT_EQ(LoadByName("Pump"), S_OK);
    EXPECT_FALSE(Has(Type("Pump"), "Head"));
    m_server->SendNotification("properties/x/0/512");
    ExpectCalls(0, [&] { EXPECT_EQ(LXRead(removed.Get(), XProperty::AttributeName), OLESTR("Head")); });
}

TEST_F(FreshTypes, ADirectNotificationToAnAttributeThatIsBeingRemoved) {
    ASSERT_EQ(Start(), S_OK);
    const auto removed = Attribute("Pump", "Head");
    Edit().RemoveAttribute("Pump", "Head");
    const Inside overtaken(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                           [&] { LXNotifyStraight(removed, "properties/Pump/0/512"); });
    EXPECT_FALSE(Has(Type("Pump"), "Head"));
}

TEST_F(FreshTypes, ADirectNotificationToAnAttributeReachesItsAttributeTypes) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    EXPECT_EQ(AttributeTypes(head, XProperty::AttributeTypeName), (Names{"Feet", "Metres"}));
    Edit().AddAttributeType("Pump", "Head", "Inches", XNotify::No);
    LXNotifyStraight(head, "objects/Pump/0/1024");
    EXPECT_EQ(AttributeTypes(head, XProperty::AttributeTypeName), (Names{"Feet", "Inches", "Metres"}));
    const auto feet = LXElements(LXFind(head, &ILXAttribute::GetAttributeTypeEnum)).at(0);
    Edit().SetAttributeTypeProperty("Pump", "Head", "Feet", XProperty::AttributeTypeLabel, "new", XNotify::No);
    LXNotifyStraight(head, "properties/Pump/0/1024");
    EXPECT_EQ(LXRead(feet.Get(), XProperty::AttributeTypeLabel), OLESTR("new"));
}

TEST_F(FreshTypes, ADirectNotificationIsNotLostForAnAttributeTypeThatIsBeingFetched) {
    ASSERT_EQ(Start(0), S_OK);
    const auto title = Attribute("Document", "Title");
    Edit().AddAttributeType("Document", "Title", "Short"); // the held attribute enumerates its types
    {
        const Inside overtaken(Calls(), "ILXAttributeType::GetProperties", [&] {
            Edit().SetAttributeTypeProperty("Document", "Title", "Short", XProperty::AttributeTypeLabel, "new",
                                            XNotify::No);
            LXNotifyStraight(title, "properties/Document/0/1024");
        });
        LXGet(title, &ILXAttribute::GetAttributeTypeEnum);
    }
    EXPECT_EQ(AttributeTypes(title, XProperty::AttributeTypeLabel), Names{"new"});
}
} // namespace

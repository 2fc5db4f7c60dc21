// SPDX-License-Identifier: MIT
//
// A type's pages, groups, attributes and editors.
#include "cachefixture.h"

class Components : public CacheTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }

    Names AttributeNames(const char* type) { return LXList(0, Type(type), &ILXType::GetAttributeEnum); }
    Names Displayed(LONG mask) { return LXList(0, Type("Pump"), &ILXType::GetDisplayAttributeEnum, mask); }
};

TEST_F(Components, TheBaseTypesDefinitionWins) {
    EXPECT_EQ(Attribute("Pump", "Name"), Attribute("Item", "Name"));
    EXPECT_EQ(LXRead(Attribute("Equipment", "Name").Get(), XProperty::Label), OLESTR("Name of the item"));
}

TEST_F(Components, OwnAttributesAreThoseThatTheServerLists) {
    const auto inheritance = Type("Equipment").As<ILXTypeInheritance>();
    const auto names = [&](BOOL all) { return LXList(0, inheritance, &ILXTypeInheritance::GetAttributeEnum, all); };
    EXPECT_EQ(names(1), (Names{"Name", "Power", "Weight"}));
    EXPECT_EQ(names(0), (Names{"Name", "Power"}));
}

TEST_F(Components, DisplayFactsAreKeptUntilANotification) {
    EXPECT_EQ(Displayed(0), (Names{"Head", "Name", "Power", "Weight"}));
    Edit().SetAttributeProperty("Item", "Name", XProperty::ShowInEditor, true);
    Edit().SetAttributeProperty("Equipment", "Power", XProperty::ShowInEditor, true);
    EXPECT_EQ(Displayed(1), (Names{"Name", "Power"}));
    ExpectCalls(0, [&] {
        EXPECT_EQ(Displayed(1), (Names{"Name", "Power"}));
        EXPECT_EQ(LXList(0, Type("Pump"), &ILXType::GetDisplayGroupAttributeEnum, 1, 2), Names{"Power"});
    });
    EXPECT_EQ(LXList(0, Type("Pump"), &ILXType::GetGroupAttributeEnum, 1), Names{"Name"});
}

TEST_F(Components, AFailedReadOfADisplayPropertyFailsTheCall) {
    EXPECT_EQ(Displayed(0).size(), 4u);
    Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "x"); // makes its display facts stale
    Calls().FailCall("ILXAttribute::GetProperties", E_ACCESSDENIED);
    EXPECT_EQ(LXResult(Type("Pump"), &ILXType::GetDisplayAttributeEnum, 1), E_ACCESSDENIED);
}

TEST_F(Components, ANumberMayBeAName) {
    const auto add = [](XServerModel& model) {
        model.types.at(OLESTR("Item"))->AddAttribute("five", 1).properties.Set(XProperty::AttributeName, 5);
    };
    Edit().Change(add, "objects/x/0/1");
    EXPECT_TRUE(Has(Type("Item"), "5"));
}

TEST_F(Components, ChildGroupsOfAGroupWithoutAValidNumber) {
    const auto group = Group("Item", 1);
    const auto expectRefused = [&](const XLXComVariant& number, const char* description) {
        ASSERT_EQ(group->SetProperty(XProperty::GroupNumber, number.Get()), S_OK);
        ExpectRefusal(LXResult(group, &ILXGroup::GetChildGroupEnum), E_INVALIDARG, description);
    };
    expectRefused(XLXComVariant::FromI4(0), "invalid group number 0");
    expectRefused(XLXComVariant::FromBstr(OLESTR("first")), "accessing group property LXCFG_groupnumber failed");
}

TEST_F(Components, ChildGroupsOfAGroupWhoseTypeIsFreed) {
    const auto group = Group("Item", 1);
    Terminate();
    m_cache.Reset();
    ExpectRefusal(LXResult(group, &ILXGroup::GetChildGroupEnum), E_POINTER, "owner type association not initialized");
}

TEST_F(Components, EditorsByProgIdAndByBrowser) {
    const auto pump = Type("Pump");
    const auto progId = [](const XLXComPtr<ILXConfObjEditor>& editor) {
        return LXRead(editor.Get(), XProperty::ProgId);
    };
    EXPECT_TRUE(LXGet(pump, &ILXType::GetConfObjEditor, "E.Pump", "whatever", "whatever"));
    EXPECT_EQ(LXResult(pump, &ILXType::GetConfObjEditor, "whatever", "TREE", nullptr), S_FALSE);
    EXPECT_EQ(progId(LXGet(pump, &ILXType::GetDefaultEditor, "TREE")), OLESTR("E.Pump"));
    EXPECT_EQ(progId(LXGet(pump, &ILXType::GetDefaultNewEditor, "TREE")), OLESTR("E.PumpNew"));
    EXPECT_EQ(LXResult(pump, &ILXType::GetDefaultEditor, "whatever"), S_FALSE);
    EXPECT_FALSE(LXErrorInformation::Take().present);
}

/// Without bulk delivery, components are fetched on demand.
class OnDemand : public Components {
protected:
    void SetUp() override { ASSERT_EQ(Start(0), S_OK); }
};

TEST_F(OnDemand, OneCallPerKindAndType) {
    const auto pump = Type("Pump");
    ExpectCalls(1, [&] { LXGet(pump, &ILXType::GetGroup, 7); });
    ExpectCalls(3, [&] { AttributeNames("Pump"); }); // of the type and its two bases
    ExpectCalls(0, [&] {
        AttributeNames("Pump");
        AttributeNames("Item");
        LXFind(pump, &ILXType::GetGroup, 8);
    });
}

TEST_F(OnDemand, AServerWithoutComponentsIsNotAskedAgain) {
    Calls().FailCall("ILXType::GetTypeComponentData", S_FALSE);
    const auto item = Type("Item");
    EXPECT_EQ(LXResult(item, &ILXType::GetPageEnum), S_FALSE);
    ExpectCalls(0, [&] { EXPECT_EQ(LXResult(item, &ILXType::GetPageEnum), S_FALSE); });
    EXPECT_EQ(Edit().AddPage("Item", 3).result, S_OK);
    EXPECT_EQ(LXResult(item, &ILXType::GetPageEnum), S_OK);
}

TEST_F(OnDemand, AFailedFetchIsReportedAndTriedAgain) {
    const auto pump = Type("Pump");
    Calls().FailCall("ILXType::GetTypeComponentData", E_ACCESSDENIED);
    EXPECT_EQ(LXResult(pump, &ILXType::GetAttributeEnum), E_ACCESSDENIED);
    EXPECT_NE(LXErrorInformation::Take().source.find(OLESTR("lxtypecache")), XLXText::npos);
    Calls().FailCall("ILXType::GetTypeComponentData", S_OK); // success, but no data
    EXPECT_EQ(LXResult(pump, &ILXType::GetAttributeEnum), E_POINTER);
    EXPECT_EQ(AttributeNames("Pump").size(), 4u);
}

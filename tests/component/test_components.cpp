// SPDX-License-Identifier: MIT
//
// A type's pages, groups, attributes and editors.
#include "cachefixture.h"

class Components : public CacheTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }
    void TearDown() override { Terminate(); }

    using Names = std::vector<std::string>;

    Names AttributeNames(const char* type) {
        return LXList<ILXAttribute>(XProperty::AttributeName, Type(type), &ILXType::GetAttributeEnum);
    }
    Names Displayed(LONG mask) {
        return LXList<ILXAttribute>(XProperty::AttributeName, Type("Pump"), &ILXType::GetDisplayAttributeEnum, mask);
    }
};

TEST_F(Components, TheBaseTypesDefinitionWins) {
    EXPECT_EQ(Attribute("Pump", "Name"), Attribute("Item", "Name"));
    EXPECT_EQ(LXRead(Attribute("Equipment", "Name").Get(), XProperty::Label), OLESTR("Name of the item"));
}

TEST_F(Components, OwnAttributesAreThoseThatTheServerLists) {
    const auto inheritance = Type("Equipment").As<ILXTypeInheritance>();
    const auto names = [&](BOOL all) {
        return LXList<ILXAttribute>(XProperty::AttributeName, inheritance, &ILXTypeInheritance::GetAttributeEnum, all);
    };
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
        EXPECT_EQ(LXList<ILXAttribute>(0, Type("Pump"), &ILXType::GetDisplayGroupAttributeEnum, 1, 2), Names{"Power"});
    });
    EXPECT_EQ(LXList<ILXAttribute>(0, Type("Pump"), &ILXType::GetGroupAttributeEnum, 1), Names{"Name"});
}

TEST_F(Components, AFailedReadOfADisplayPropertyFailsTheCall) {
    EXPECT_EQ(Displayed(0).size(), 4u);
    Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "x"); // makes its display facts stale
    Calls().FailCall("ILXAttribute::GetProperties", E_ACCESSDENIED);
    XLXComPtr<ILXAttributeEnum> attributes;
    EXPECT_EQ(Type("Pump")->GetDisplayAttributeEnum(1, attributes.Put()), E_ACCESSDENIED);
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
    XLXComPtr<ILXGroupEnum> groups;
    ASSERT_EQ(group->SetProperty(XProperty::GroupNumber, XLXComVariant::FromI4(0).Get()), S_OK);
    EXPECT_EQ(group->GetChildGroupEnum(groups.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("invalid group number 0"));
    const XLXComVariant text = XLXComVariant::FromBstr(OLESTR("first"));
    ASSERT_EQ(group->SetProperty(XProperty::GroupNumber, text.Get()), S_OK);
    EXPECT_EQ(group->GetChildGroupEnum(groups.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("accessing group property LXCFG_groupnumber failed"));
}

TEST_F(Components, ChildGroupsOfAGroupWhoseTypeIsFreed) {
    const auto group = Group("Item", 1);
    Terminate();
    m_cache.Reset();
    XLXComPtr<ILXGroupEnum> groups;
    EXPECT_EQ(group->GetChildGroupEnum(groups.Put()), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("owner type association not initialized"));
    ASSERT_EQ(Start(), S_OK);
}

TEST_F(Components, EditorsByProgIdAndByBrowser) {
    const auto pump = Type("Pump");
    const auto progId = [](const XLXComPtr<ILXConfObjEditor>& editor) {
        return LXRead(editor.Get(), XProperty::ProgId);
    };
    EXPECT_TRUE(LXGet(pump, &ILXType::GetConfObjEditor, "E.Pump", "whatever", "whatever"));
    XLXComPtr<ILXConfObjEditor> none;
    EXPECT_EQ(LXCall(*pump, &ILXType::GetConfObjEditor, "whatever", "TREE", nullptr, none.Put()), S_FALSE);
    EXPECT_EQ(progId(LXGet(pump, &ILXType::GetDefaultEditor, "TREE")), OLESTR("E.Pump"));
    EXPECT_EQ(progId(LXGet(pump, &ILXType::GetDefaultNewEditor, "TREE")), OLESTR("E.PumpNew"));
    EXPECT_EQ(LXCall(*pump, &ILXType::GetDefaultEditor, "whatever", none.Put()), S_FALSE);
    EXPECT_FALSE(none);
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
    XLXComPtr<ILXPageEnum> pages;
    const auto item = Type("Item");
    EXPECT_EQ(item->GetPageEnum(pages.Put()), S_FALSE);
    ExpectCalls(0, [&] { EXPECT_EQ(item->GetPageEnum(pages.Put()), S_FALSE); });
    EXPECT_EQ(Edit().AddPage("Item", 3).result, S_OK);
    EXPECT_EQ(item->GetPageEnum(pages.Put()), S_OK);
}

TEST_F(OnDemand, AFailedFetchIsReportedAndTriedAgain) {
    const auto pump = Type("Pump");
    XLXComPtr<ILXAttributeEnum> attributes;
    Calls().FailCall("ILXType::GetTypeComponentData", E_ACCESSDENIED);
    EXPECT_EQ(pump->GetAttributeEnum(attributes.Put()), E_ACCESSDENIED);
    EXPECT_NE(LXErrorInformation::Take().source.find(OLESTR("lxtypecache")), XLXText::npos);
    Calls().FailCall("ILXType::GetTypeComponentData", S_OK); // success, but no data
    EXPECT_EQ(pump->GetAttributeEnum(attributes.Put()), E_POINTER);
    EXPECT_EQ(AttributeNames("Pump").size(), 4u);
}

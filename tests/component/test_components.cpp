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
        return LXList<ILXAttribute, ILXAttributeEnum>(XProperty::AttributeName,
                                                      [&](auto out) { return Type(type)->GetAttributeEnum(out); });
    }
    Names Displayed(LONG mask, int group = 0) {
        XLXComPtr<ILXAttributeEnum> attributes;
        const HRESULT result = group == 0 ? Type("Pump")->GetDisplayAttributeEnum(mask, attributes.Put())
                                          : Type("Pump")->GetDisplayGroupAttributeEnum(mask, group, attributes.Put());
        EXPECT_EQ(result, attributes ? S_OK : S_FALSE);
        return LXReadAll<ILXAttribute>(attributes, XProperty::AttributeName);
    }
    static Names Numbers(const XLXComPtr<ILXGroupEnum>& groups) {
        return LXReadAll<ILXGroup>(groups, XProperty::GroupNumber);
    }
};

TEST_F(Components, DeliveredInBulkTheyMakeNoCall) {
    ExpectCalls(0, [&] {
        EXPECT_EQ(AttributeNames("Pump"), (Names{"Head", "Name", "Power", "Weight"}));
        EXPECT_EQ(LXRead(Attribute("Pump", "Power").Get(), XProperty::AttributeName), OLESTR("Power"));
        EXPECT_EQ(LXRead(Group("Item", 2).Get(), XProperty::GroupLabel), OLESTR("Inner"));
        EXPECT_EQ((LXList<ILXPage, ILXPageEnum>(XProperty::PageNumber,
                                                [&](auto out) { return Type("Item")->GetPageEnum(out); })),
                  (Names{"1", "2"}));
        EXPECT_EQ((LXList<ILXConfObjEditor, ILXConfObjEditorEnum>(
                      XProperty::ProgId, [&](auto out) { return Type("Pump")->GetConfObjEditorEnum(out); })),
                  (Names{"E.Pump", "E.PumpNew"}));
    });
}

TEST_F(Components, TheBaseTypesDefinitionWins) {
    EXPECT_EQ(Attribute("Pump", "Name"), Attribute("Item", "Name"));
    EXPECT_EQ(LXRead(Attribute("Equipment", "Name").Get(), XProperty::Label), OLESTR("Name of the item"));
}

TEST_F(Components, OnlyAttributesAreInherited) {
    const auto pump = Type("Pump");
    XLXComPtr<ILXGroup> group;
    EXPECT_EQ(pump->GetGroup(7, group.Put()), S_OK);
    EXPECT_EQ(pump->GetGroup(1, group.Put()), S_FALSE);
    EXPECT_FALSE(group);
    XLXComPtr<ILXPageEnum> pages;
    EXPECT_EQ(pump->GetPageEnum(pages.Put()), S_FALSE);
    EXPECT_FALSE(pages);
}

TEST_F(Components, OwnAttributesAreThoseThatTheServerLists) {
    XLXComPtr<ILXTypeInheritance> inheritance = Type("Equipment").As<ILXTypeInheritance>();
    XLXComPtr<ILXAttributeEnum> all;
    XLXComPtr<ILXAttributeEnum> own;
    ASSERT_EQ(inheritance->GetAttributeEnum(1, all.Put()), S_OK);
    ASSERT_EQ(inheritance->GetAttributeEnum(0, own.Put()), S_OK);
    EXPECT_EQ(LXReadAll<ILXAttribute>(all, 0), (Names{"Name", "Power", "Weight"}));
    EXPECT_EQ(LXReadAll<ILXAttribute>(own, 0), (Names{"Name", "Power"}));
}

TEST_F(Components, DisplayMasksAndGroups) {
    struct Setting {
        const char* type;
        const char* name;
        int member;
        bool value;
    };
    for (const auto& [type, name, member, value] : {Setting{"Item", "Name", XProperty::ShowInEditor, true},
                                                    {"Item", "Weight", XProperty::ShowInEditor, false},
                                                    {"Equipment", "Power", XProperty::ShowInEditor, true},
                                                    {"Pump", "Head", XProperty::ShowInEditor, false},
                                                    {"Item", "Name", XProperty::ShowInFinder, true},
                                                    {"Item", "Weight", XProperty::ShowInFinder, true},
                                                    {"Equipment", "Power", XProperty::ShowInFinder, false},
                                                    {"Pump", "Head", XProperty::ShowInFinder, false},
                                                    {"Item", "Name", XProperty::NotInFinder, true},
                                                    {"Item", "Weight", XProperty::NotInFinder, false}}) {
        Edit().SetAttributeProperty(type, name, member, value);
    }
    const Names all{"Head", "Name", "Power", "Weight"};
    EXPECT_EQ(Displayed(0), all);
    EXPECT_EQ(Displayed(1), (Names{"Name", "Power"}));
    EXPECT_EQ(Displayed(2), (Names{"Weight"})); // Name is hidden in the finder
    EXPECT_EQ(Displayed(1 | 2), (Names{"Name", "Power", "Weight"}));
    EXPECT_EQ(Displayed(1, 2), (Names{"Power"}));
    EXPECT_EQ(Displayed(0, 3), (Names{"Head"}));
    EXPECT_EQ((LXList<ILXAttribute, ILXAttributeEnum>(
                  0, [&](auto out) { return Type("Pump")->GetGroupAttributeEnum(1, out); })),
              (Names{"Name"}));
    ExpectCalls(0, [&] { EXPECT_EQ(Displayed(1), (Names{"Name", "Power"})); }); // the display facts are cached

    Edit().SetAttributeProperty("Pump", "Head", XProperty::ShowInEditor, true);
    EXPECT_EQ(Displayed(1), (Names{"Head", "Name", "Power"}));
}

TEST_F(Components, AFailingDisplayPropertyEndsTheCall) {
    EXPECT_EQ(Displayed(0).size(), 4u);
    Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "x"); // makes its display facts stale
    Calls().FailCall("ILXAttribute::GetProperties", E_ACCESSDENIED);
    XLXComPtr<ILXAttributeEnum> attributes;
    EXPECT_EQ(Type("Pump")->GetDisplayAttributeEnum(1, attributes.Put()), E_ACCESSDENIED);
    Calls().StopFailing();
    EXPECT_EQ(Displayed(0).size(), 4u);
}

TEST_F(Components, GroupsByPageAndInsideEachOther) {
    const auto item = Type("Item");
    XLXComPtr<ILXGroupEnum> groups;
    EXPECT_EQ(item->GetPageGroupEnum(1, groups.Put()), S_OK);
    EXPECT_EQ(Numbers(groups), (Names{"1", "2"}));
    EXPECT_EQ(item->GetPageGroupEnum(9, groups.Put()), S_FALSE);
    EXPECT_FALSE(groups);
    EXPECT_EQ(Group("Item", 1)->GetChildGroupEnum(groups.Put()), S_OK);
    EXPECT_EQ(Numbers(groups), (Names{"2"}));
    EXPECT_EQ(Group("Item", 3)->GetChildGroupEnum(groups.Put()), S_FALSE);
    EXPECT_EQ(item->GetToplevelGroupEnum(groups.Put()), S_OK);
    EXPECT_EQ(Numbers(groups), (Names{"1", "3"}));
    EXPECT_EQ(item->GetPageToplevelGroupEnum(2, groups.Put()), S_OK);
    EXPECT_EQ(Numbers(groups), (Names{"3"}));
}

TEST_F(Components, ChildGroupsOfAGroupThatCannotSayItsNumber) {
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

TEST_F(Components, ChildGroupsOfAGroupWhoseTypeIsGone) {
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
    XLXComBSTR progId(OLESTR("E.Pump"));
    XLXComBSTR other(OLESTR("whatever"));
    XLXComBSTR browser(OLESTR("TREE"));
    XLXComPtr<ILXConfObjEditor> editor;
    EXPECT_EQ(pump->GetConfObjEditor(progId.Get(), other.Get(), other.Get(), editor.Put()), S_OK);
    EXPECT_EQ(pump->GetConfObjEditor(other.Get(), browser.Get(), nullptr, editor.Put()), S_FALSE);
    EXPECT_FALSE(editor);
    EXPECT_EQ(pump->GetDefaultEditor(browser.Get(), editor.Put()), S_OK);
    EXPECT_EQ(LXRead(editor.Get(), XProperty::ProgId), OLESTR("E.Pump"));
    EXPECT_EQ(pump->GetDefaultNewEditor(browser.Get(), editor.Put()), S_OK);
    EXPECT_EQ(LXRead(editor.Get(), XProperty::ProgId), OLESTR("E.PumpNew"));
    EXPECT_EQ(pump->GetDefaultEditor(other.Get(), editor.Put()), S_FALSE);
    EXPECT_FALSE(LXErrorInformation::Take().present);
}

TEST_F(Components, AddedAndRemovedComponentsAreSeenAfterTheirNotification) {
    AttributeNames("Pump");
    const auto kept = Attribute("Pump", "Weight");
    Edit().AddAttribute("Item", "Colour", 1);
    EXPECT_EQ(AttributeNames("Pump"), (Names{"Colour", "Head", "Name", "Power", "Weight"}));
    EXPECT_EQ(kept, Attribute("Pump", "Weight"));
    Edit().RemoveAttribute("Item", "Name"); // Equipment's own attribute is no longer hidden
    EXPECT_EQ(LXRead(Attribute("Pump", "Name").Get(), XProperty::Label), OLESTR("Name of the equipment"));
    Edit().AddGroup("Item", 9, 2);
    XLXComPtr<ILXGroupEnum> groups;
    EXPECT_EQ(Type("Item")->GetPageGroupEnum(2, groups.Put()), S_OK);
    EXPECT_EQ(Numbers(groups), (Names{"3", "9"}));
    Edit().AddPage("Item", 5);
    XLXComPtr<ILXPage> page;
    EXPECT_EQ(Type("Item")->GetPage(5, page.Put()), S_OK);
    Edit().AddEditor("Item", "E.Item", "Tree", true);
    XLXComPtr<ILXConfObjEditor> editor;
    EXPECT_EQ(Type("Item")->GetDefaultEditor(XLXComBSTR(OLESTR("tree")).Get(), editor.Put()), S_OK);
}

TEST_F(Components, ASnapshotStaysAsItWas) {
    XLXComPtr<ILXAttributeEnum> before;
    ASSERT_EQ(Type("Document")->GetAttributeEnum(before.Put()), S_OK);
    Edit().AddAttribute("Document", "Author");
    EXPECT_EQ(AttributeNames("Document"), (Names{"Author", "Title"}));
    EXPECT_EQ(LXReadAll<ILXAttribute>(before, 0), (Names{"Title"}));
}

/// Without bulk delivery, components are fetched on demand.
class OnDemand : public Components {
protected:
    void SetUp() override { ASSERT_EQ(Start(0), S_OK); }
};

TEST_F(OnDemand, OneCallPerKindAndType) {
    const auto pump = Type("Pump");
    XLXComPtr<ILXGroup> group;
    ExpectCalls(1, [&] { EXPECT_EQ(pump->GetGroup(7, group.Put()), S_OK); });
    ExpectCalls(3, [&] { AttributeNames("Pump"); }); // of the type and its two bases
    ExpectCalls(0, [&] {
        AttributeNames("Pump");
        AttributeNames("Item");
        pump->GetGroup(8, group.Put());
    });
}

TEST_F(OnDemand, AServerWithNothingIsNotAskedAgain) {
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

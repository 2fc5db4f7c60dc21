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
        return LXList<ILXAttribute, ILXAttributeEnum>(XProperty::AttributeName, [&](auto out) {
            return group == 0 ? Type("Pump")->GetDisplayAttributeEnum(mask, out)
                              : Type("Pump")->GetDisplayGroupAttributeEnum(mask, group, out);
        });
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

TEST_F(Components, OwnAttributesAreThoseThatTheServerLists) {
    const auto inheritance = Type("Equipment").As<ILXTypeInheritance>();
    const auto names = [&](BOOL all) {
        return LXList<ILXAttribute, ILXAttributeEnum>(
            XProperty::AttributeName, [&](auto out) { return inheritance->GetAttributeEnum(all, out); });
    };
    EXPECT_EQ(names(1), (Names{"Name", "Power", "Weight"}));
    EXPECT_EQ(names(0), (Names{"Name", "Power"}));
}

TEST_F(Components, DisplayMasksAndGroups) {
    EXPECT_EQ(Displayed(0), (Names{"Head", "Name", "Power", "Weight"}));
    for (const char* const name : {"Name", "Weight"}) {
        for (const int member : {XProperty::ShowInEditor, XProperty::ShowInFinder, XProperty::NotInFinder}) {
            Edit().SetAttributeProperty("Item", name, member, name[0] == 'N' || member == XProperty::ShowInFinder);
        }
    }
    Edit().SetAttributeProperty("Equipment", "Power", XProperty::ShowInEditor, true);
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
    const auto numbers = [](auto ask) { return LXList<ILXGroup, ILXGroupEnum>(XProperty::GroupNumber, ask); };
    EXPECT_EQ(numbers([&](auto out) { return item->GetPageGroupEnum(1, out); }), (Names{"1", "2"}));
    EXPECT_EQ(numbers([&](auto out) { return item->GetPageGroupEnum(9, out); }), Names());
    EXPECT_EQ(numbers([&](auto out) { return Group("Item", 1)->GetChildGroupEnum(out); }), (Names{"2"}));
    EXPECT_EQ(numbers([&](auto out) { return Group("Item", 3)->GetChildGroupEnum(out); }), Names());
    EXPECT_EQ(numbers([&](auto out) { return item->GetToplevelGroupEnum(out); }), (Names{"1", "3"}));
    EXPECT_EQ(numbers([&](auto out) { return item->GetPageToplevelGroupEnum(2, out); }), (Names{"3"}));
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

TEST_F(Components, AddedAndRemovedAttributesAreSeenAfterTheirNotification) {
    AttributeNames("Pump");
    const auto kept = Attribute("Pump", "Weight");
    Edit().AddAttribute("Item", "Colour", 1);
    EXPECT_EQ(AttributeNames("Pump"), (Names{"Colour", "Head", "Name", "Power", "Weight"}));
    EXPECT_EQ(kept, Attribute("Pump", "Weight"));
    Edit().RemoveAttribute("Item", "Name"); // Equipment's own attribute is no longer hidden
    EXPECT_EQ(LXRead(Attribute("Pump", "Name").Get(), XProperty::Label), OLESTR("Name of the equipment"));
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

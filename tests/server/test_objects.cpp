// SPDX-License-Identifier: MIT
//
// Direct calls to the server's objects.
#include "servertest.h"

#include "XLXSafeArray.h"

namespace {
class ServerObjects : public testing::Test {
protected:
    std::string AttributeNames(const XText& type, HRESULT (STDMETHODCALLTYPE ILXType::*method)(int, ILXAttributeEnum**),
                               int argument) {
        const auto object = LXTypeOf(*server, type);
        return LXNames<ILXAttribute, ILXAttributeEnum>(
            [&](ILXAttributeEnum** out) { return (object.Get()->*method)(argument, out); }, 0);
    }

    std::string Shown(const XText& type, LONG mask) {
        const auto object = LXTypeOf(*server, type);
        return LXNames<ILXAttribute, ILXAttributeEnum>(
            [&](ILXAttributeEnum** out) { return object->GetDisplayAttributeEnum(mask, out); }, 0);
    }

    std::shared_ptr<XSampleServer> server = XSampleServer::Create(LXSmallModel());
};

ULONG PropertyCount(ILXConfigObject& object) {
    XLXSafeArray values;
    EXPECT_EQ(object.GetProperties(values.Put()), S_OK);
    LONG upper = -1;
    EXPECT_EQ(SafeArrayGetUBound(values.Get(), 1, &upper), S_OK);
    return static_cast<ULONG>(upper + 1);
}
} // namespace

TEST_F(ServerObjects, EveryKindDeliversItsNumberOfValues) {
    const auto factory = server->ConfigFactory();
    const auto type = LXTypeOf(*server, "Pump");
    const auto power = LXAttributeOf(*server, "Pump", "Power");
    XLXComPtr<ILXGroup> group;
    XLXComPtr<ILXPage> page;
    XLXComPtr<ILXConfObjEditor> editor;
    XLXComPtr<ILXFormat> format;
    EXPECT_EQ(type->GetGroup(3, group.Put()), S_OK);
    EXPECT_EQ(type->GetPage(2, page.Put()), S_OK);
    EXPECT_EQ(type->GetConfObjEditor(XLXComBSTR(OLESTR("Pump.Sheet")).Get(), nullptr, nullptr, editor.Put()), S_OK);
    EXPECT_EQ(group->GetFormat(format.Put()), S_OK);
    XLXComPtr<ILXAttributeTypeEnum> types;
    XLXComPtr<ILXParentChildEnum> relations;
    XLXComPtr<ILXPCInfo> info;
    XLXComPtr<ILXBrowserIdEnum> browserIds;
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
    EXPECT_EQ(power->GetAttributeTypeEnum(types.Put()), S_OK);
    EXPECT_EQ(factory->GetParentChildEnum(nullptr, nullptr, relations.Put()), S_OK);
    EXPECT_EQ(factory->GetBrowserIdEnum(browserIds.Put()), S_OK);
    EXPECT_EQ(factory->GetAllGlobalAttributeFormatSpecs(specs.Put()), S_OK);
    const auto relation = LXFetch<ILXParentChildEnum, ILXParentChild>(relations.Get()).front();
    EXPECT_EQ(relation->GetPCInfo(XLXComBSTR(OLESTR("LIST")).Get(), info.Put()), S_OK);

    EXPECT_EQ(PropertyCount(*type.Get()), 28u);
    EXPECT_EQ(PropertyCount(*power.Get()), 60u);
    EXPECT_EQ(PropertyCount(*format.Get()), 60u);
    EXPECT_EQ(PropertyCount(*group.Get()), 16u);
    EXPECT_EQ(PropertyCount(*page.Get()), 7u);
    EXPECT_GE(PropertyCount(*editor.Get()), 4u);
    EXPECT_EQ(PropertyCount(*relation.Get()), 37u);
    EXPECT_EQ(PropertyCount(*info.Get()), 10u);
    EXPECT_EQ(PropertyCount(*(LXFetch<ILXAttributeTypeEnum, ILXAttributeType>(types.Get()).front().Get())), 7u);
    EXPECT_GE(PropertyCount(*(LXFetch<ILXBrowserIdEnum, ILXBrowserId>(browserIds.Get()).front().Get())), 1u);
    EXPECT_EQ(PropertyCount(*(
                  LXFetch<ILXGlobalAttributeFormatSpecEnum, ILXGlobalAttributeFormatSpec>(specs.Get()).front().Get())),
              60u);
}

TEST_F(ServerObjects, PropertiesByIndexAndByName) {
    const auto power = LXAttributeOf(*server, "Pump", "Power");
    XLXComVariant value;
    EXPECT_EQ(power->Get(XLXComBSTR(OLESTR("LXCFG_attributegroupnumber")).Get(), value.Put()), S_OK);
    EXPECT_EQ(value.AsLong(), 3);
    EXPECT_EQ(power->Get(XLXComBSTR(OLESTR("lxcfg_attributename")).Get(), value.Put()), E_INVALIDARG);
    EXPECT_EQ(power->GetProperty(60, value.Put()), E_INVALIDARG);
    EXPECT_EQ(power->GetProperty(-1, value.Put()), E_INVALIDARG);
    EXPECT_EQ(power->GetProperty(16, value.Put()), S_FALSE); // always empty
    EXPECT_EQ(power->GetProperty(0, nullptr), E_POINTER);

    EXPECT_EQ(power->SetProperty(XProperty::Label, XLXComVariant::FromBstr(OLESTR("Kraft")).Get()), S_OK);
    EXPECT_EQ(LXTextOf(LXAttributeOf(*server, "CentrifugalPump", "Power"), XProperty::Label), "Kraft");
    EXPECT_EQ(power->SetProperty(60, value.Get()), E_INVALIDARG);
}

TEST_F(ServerObjects, AttributesOfABaseAreInheritedAndWin) {
    EXPECT_EQ(Shown("CentrifugalPump", 0), "Impeller Name Owner Power Serial Tag Weight");
    EXPECT_EQ(LXTextOf(LXAttributeOf(*server, "CentrifugalPump", "Weight"), XProperty::Unit), "kg");
    EXPECT_FALSE(LXAttributeOf(*server, "Pump", "Impeller"));
    const auto own = LXNames<ILXAttribute, ILXAttributeEnum>(
        [&](ILXAttributeEnum** out) { return LXTypeOf(*server, "Pump")->GetAttributeEnum(out); }, 0);
    EXPECT_EQ(own, "Power Serial Weight"); // without inherited ones
}

TEST_F(ServerObjects, AttributesByPlaceAndGroup) {
    EXPECT_EQ(Shown("Pump", 1), "Name");
    EXPECT_EQ(Shown("Pump", 2), "Tag"); // Serial is hidden in the finder by another flag
    EXPECT_EQ(Shown("Pump", 8 | 32), "Power Serial");
    EXPECT_EQ(Shown("Object", 16), "Name");
    EXPECT_EQ(Shown("Hidden", 0), "none");
    EXPECT_EQ(AttributeNames("Pump", &ILXType::GetGroupAttributeEnum, 2), "Serial Weight");
    XLXComPtr<ILXAttributeEnum> shown;
    EXPECT_EQ(LXTypeOf(*server, "Pump")->GetDisplayGroupAttributeEnum(8, 2, shown.Put()), S_FALSE);
}

TEST_F(ServerObjects, GroupsAndEditors) {
    const auto pump = LXTypeOf(*server, "Pump");
    const auto groups = [&](auto&& get) { return LXNames<ILXGroup, ILXGroupEnum>(get, XProperty::GroupNumber); };
    EXPECT_EQ(groups([&](ILXGroupEnum** out) { return pump->GetGroupEnum(out); }), "1 2 3");
    EXPECT_EQ(groups([&](ILXGroupEnum** out) { return pump->GetToplevelGroupEnum(out); }), "1 2");
    EXPECT_EQ(groups([&](ILXGroupEnum** out) { return pump->GetPageGroupEnum(2, out); }), "3");
    EXPECT_EQ(groups([&](ILXGroupEnum** out) { return pump->GetPageToplevelGroupEnum(2, out); }), "none");
    XLXComPtr<ILXGroup> group;
    EXPECT_EQ(pump->GetGroup(2, group.Put()), S_OK);
    EXPECT_EQ(groups([&](ILXGroupEnum** out) { return group->GetChildGroupEnum(out); }), "3");

    XLXComPtr<ILXConfObjEditor> editor;
    EXPECT_EQ(pump->GetDefaultEditor(XLXComBSTR(OLESTR("tree")).Get(), editor.Put()), S_OK);
    EXPECT_EQ(LXTextOf(editor, XProperty::ProgId), "Pump.Sheet");
    EXPECT_EQ(pump->GetDefaultNewEditor(XLXComBSTR(OLESTR("TREE")).Get(), editor.Put()), S_OK);
    EXPECT_EQ(LXTextOf(editor, XProperty::ProgId), "Pump.Wizard");
    EXPECT_EQ(pump->GetDefaultEditor(XLXComBSTR(OLESTR("List")).Get(), editor.Put()), S_FALSE);
    EXPECT_FALSE(editor);
}

TEST_F(ServerObjects, ComponentsCanBeAddedAndRemoved) {
    const auto pump = LXTypeOf(*server, "Pump");
    XLXComPtr<ILXPage> page;
    LONG removed = 0;
    EXPECT_EQ(pump->AddPage(page.Put()), S_OK);
    EXPECT_EQ(LXTextOf(page, XProperty::PageNumber), "3");
    EXPECT_EQ(pump->RemovePage(page.Get(), &removed), S_OK);
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(pump->RemovePage(page.Get(), &removed), E_INVALIDARG); // already removed
    XLXComPtr<ILXAttributeType> kind;
    const auto power = LXAttributeOf(*server, "Pump", "Power");
    EXPECT_EQ(power->AddAttributeType(kind.Put()), S_OK);
    EXPECT_EQ(power->RemoveAttributeType(kind.Get(), &removed), S_OK);
    EXPECT_EQ(power->RemoveAttributeType(nullptr, &removed), E_INVALIDARG);
}

TEST_F(ServerObjects, FormatsAreCreatedFoundAndDeleted) {
    const auto weight = LXAttributeOf(*server, "Equipment", "Weight");
    XLXComPtr<ILXFormat> format;
    EXPECT_EQ(weight->GetFormat(1, format.Put()), S_OK);
    EXPECT_EQ(LXTextOf(format, XProperty::Label), "0.0");
    EXPECT_EQ(weight->GetFormat(2, format.Put()), S_FALSE);
    EXPECT_EQ(weight->CreateFormat(2, format.Put()), S_OK);
    EXPECT_EQ(weight->GetFormat(2, format.Put()), S_OK);
    EXPECT_EQ(weight->DeleteFormat(2), S_OK);
    EXPECT_EQ(weight->DeleteFormat(2), S_FALSE);
    EXPECT_EQ(weight->GetFormat(2, format.Put()), S_FALSE);
}

TEST_F(ServerObjects, EnumeratorsKeepTheirPlace) {
    XLXComPtr<ILXTypeEnum> types;
    ASSERT_EQ(server->ConfigFactory()->GetTypeEnum(nullptr, types.Put()), S_OK);
    XLXComPtr<ILXType> type;
    EXPECT_EQ(types->Skip(4), S_OK);
    EXPECT_EQ(types->GetSingleNext(type.Put()), S_OK);
    EXPECT_EQ(LXTextOf(type, 0), "Pump");
    EXPECT_EQ(types->Skip(2), S_FALSE);
    EXPECT_EQ(types->GetSingleNext(type.Put()), S_FALSE);
    EXPECT_FALSE(type);
    EXPECT_EQ(types->Reset(), S_OK);
    const auto listed = LXFetch<ILXTypeEnum, ILXType>(types.Get());
    EXPECT_EQ(listed.size(), 6u); // Hidden is not listed
    XLXComPtr<ILXTypeEnum> clone;
    EXPECT_EQ(types->Clone(clone.Put()), E_NOTIMPL);
    const auto searchable = LXNames<ILXType, ILXTypeEnum>(
        [&](ILXTypeEnum** out) { return server->ConfigFactory()->GetSearchableTypeEnum(out); }, 0);
    EXPECT_EQ(searchable, "CentrifugalPump Document Equipment Object Pump");
}

TEST_F(ServerObjects, DataObjectsAndRelationships) {
    const auto pump = server->StoredObject("P1");
    const auto vessel = server->StoredObject("V1");
    const auto relationship = server->StoredObject("R1");
    XLXComVariant value;
    EXPECT_EQ(relationship->GetAttribute(XLXComBSTR(OLESTR("relationobject1")).Get(), value.Put()), S_OK);
    EXPECT_EQ(value.AsUnknown(), static_cast<IUnknown*>(pump.Get())); // the same object each time
    XLXComPtr<ILX_BaseDataObject> other;
    const auto relation = relationship.As<ILXRelation>();
    ASSERT_TRUE(relation);
    EXPECT_EQ(relation->GetRelatedObject(pump.Get(), other.Put()), S_OK);
    EXPECT_EQ(other, vessel);
    EXPECT_EQ(relation->GetRelatedObject(relationship.Get(), other.Put()), S_FALSE);
    EXPECT_FALSE(pump.As<ILXRelation>());

    EXPECT_EQ(pump->IsDerivedFromType(XLXComBSTR(OLESTR("Equipment")).Get()), S_OK);
    EXPECT_EQ(pump->IsDerivedFromType(XLXComBSTR(OLESTR("Vessel")).Get()), S_FALSE);
    const auto unknown = server->DataObject("NoSuchType");
    EXPECT_EQ(unknown->GetAttribute(XLXComBSTR(OLESTR("typename")).Get(), value.Put()), S_OK);
    EXPECT_EQ(value.AsText(), OLESTR("NoSuchType"));
    EXPECT_EQ(unknown->GetAttribute(XLXComBSTR(OLESTR("colour")).Get(), value.Put()), E_INVALIDARG);
    EXPECT_EQ(server->DataObject("")->GetAttribute(XLXComBSTR(OLESTR("typename")).Get(), value.Put()), E_INVALIDARG);
    EXPECT_FALSE(server->StoredObject("P2"));
}

TEST(ServerQuery, PlanTypesOfTheShippedModel) {
    const auto server = XSampleServer::Create(LXReadModel(LX_MODEL_FOLDER "/plant.json"));
    const auto query = server->Query();
    EXPECT_EQ(query->SetSearchTable(XLXComBSTR(OLESTR("lumbrixtypeset")).Get()), S_OK);
    EXPECT_EQ(query->SetSearchAttribute(XLXComBSTR(OLESTR("master")).Get(), 0, XLXComVariant::FromI4(1).Get(), 0),
              S_OK);
    XLXComPtr<IEnumBaseDataObject> found;
    ASSERT_EQ(query->GetSearchResult(found.Put()), S_OK);
    const auto sets = LXFetch<IEnumBaseDataObject, ILX_BaseDataObject>(found.Get());
    ASSERT_EQ(sets.size(), 1u);
    ASSERT_EQ(sets.front()->GetChildren(XLXComBSTR(OLESTR("lumbrixtype")).Get(), found.Put()), S_OK);
    const auto plans = LXFetch<IEnumBaseDataObject, ILX_BaseDataObject>(found.Get());
    ASSERT_EQ(plans.size(), 3u);
    EXPECT_EQ(plans.back()->GetChildren(XLXComBSTR(OLESTR("lumbrixtypechild")).Get(), found.Put()), S_OK);
    for (const OLECHAR* const name :
         {OLESTR("configtypename"), OLESTR("nameshort"), OLESTR("recursiv"), OLESTR("wscparent")}) {
        XLXComVariant value;
        EXPECT_EQ(plans.front()->GetAttribute(XLXComBSTR(name).Get(), value.Put()), S_OK);
    }
    EXPECT_EQ(query->ResetSearch(0), S_OK);
    EXPECT_EQ(query->GetSearchResult(found.Put()), S_FALSE); // no table
    EXPECT_FALSE(found);
}

TEST(ServerFactory, IsOneObjectAndShowsTheFacesItIsToldTo) {
    const auto server = XSampleServer::Create(LXSmallModel());
    const auto factory = server->ConfigFactory();
    EXPECT_EQ(factory, server->ConfigFactory());
    EXPECT_TRUE(factory.As<ILXConfigFactoryEx>());
    EXPECT_FALSE(factory.As<ILXCallbackUpdate>());
    server->AcceptForwardedNotifications(true);
    server->RefuseBulkReads(true);
    EXPECT_FALSE(factory.As<ILXConfigFactoryEx>());
    const auto callback = factory.As<ILXCallbackUpdate>();
    ASSERT_TRUE(callback);
    EXPECT_EQ(callback->DataObjectChanged(XLXComBSTR(OLESTR("cfc_forward/x")).Get(), XLXComBSTR(OLESTR("cfc")).Get(),
                                          256, 12, 0, nullptr),
              S_OK);
    ASSERT_EQ(server->ForwardedNotifications().size(), 1u);
    EXPECT_EQ(server->ForwardedNotifications().front().dataId, OLESTR("cfc_forward/x"));
    EXPECT_EQ(server->ForwardedNotifications().front().id, 12u);
    EXPECT_EQ(factory->NotifyServerTermination(), S_OK);
    EXPECT_EQ(server->TerminationsNotified(), 1);
}

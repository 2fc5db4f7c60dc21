// SPDX-License-Identifier: MIT
//
// Types by name, and the effect of changes on the server.
#include "inside.h"

class Types : public CacheTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }

    HRESULT Find(const char* name) { return LXResult(Factory(), &ILXConfigFactory::GetType, name, nullptr); }
};

TEST_F(Types, NamesAreComparedExactly) {
    EXPECT_EQ(Find("pump"), S_FALSE);
    EXPECT_EQ(Find(""), S_FALSE);
    const auto nameless = m_server->DataObject("");
    EXPECT_EQ(LXResult(m_cache, &ILXConfigFactoryCache::GetCachedType, nameless.Get(), nullptr), S_FALSE);
    EXPECT_FALSE(LXErrorInformation::Take().present);
    ExpectRefusal(LXResult(m_cache, &ILXConfigFactoryCache::GetCachedType, nullptr, nullptr), E_POINTER,
                  "invalid pointer: pObject");
}

TEST_F(Types, EnumerationsListWhatTheServerLists) {
    EXPECT_EQ(TypeNames(), (Names{"Document", "Equipment", "Item", "Pump"}));
    Edit().SetTypeListed("Document", false);
    Edit().SetTypeProperty("Item", XProperty::Searchable, false);
    EXPECT_EQ(TypeNames(), (Names{"Equipment", "Item", "Pump"}));
    EXPECT_EQ(LXList(0, Factory(), &ILXConfigFactory::GetSearchableTypeEnum), (Names{"Equipment", "Pump"}));
}

TEST_F(Types, TheBaseTypeIsAProperty) {
    const auto pump = Type("Pump");
    for (const char* values : {"delivered", "fetched"}) {
        SCOPED_TRACE(values);
        XLXComVariant base;
        ASSERT_EQ(pump->GetProperty(27, base.Put()), S_OK);
        EXPECT_EQ(XLXComPtr<IUnknown>(base.AsUnknown()).As<ILXType>(), Type("Equipment"));
        XLXComVariant byName;
        EXPECT_EQ(LXCall(*pump, &ILXType::Get, "LXCFG_basetype", byName.Put()), S_OK);
        EXPECT_EQ(byName.AsUnknown(), base.AsUnknown());
        m_server->SendNotification("properties/Pump/0/2");
    }
}

TEST_F(Types, HeldObjectsStayTheSameAcrossAReload) {
    const auto pump = Type("Pump");
    const auto head = Attribute("Pump", "Head");
    const auto group = Group("Item", 3);
    EXPECT_EQ(Edit().AddType("Valve", "Equipment").result, S_OK); // all types are reloaded
    EXPECT_EQ(pump, Type("Pump"));
    EXPECT_EQ(head, Attribute("Pump", "Head"));
    EXPECT_EQ(group, Group("Item", 3));
    Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "Rotating pump");
    EXPECT_EQ(LXRead(pump.Get(), XProperty::TypeLabel), OLESTR("Rotating pump"));
}

TEST_F(Types, LoadsNamedTypesWithTheirBasesInOneCall) {
    Edit().AddType("Tank", "Equipment", XNotify::No);
    Edit().AddType("Silo", "Tank", XNotify::No);
    const XBstrArgument silo = LXArgument("Silo");
    const XBstrArgument gone = LXArgument("Gone");
    BSTR names[] = {silo, gone};
    ExpectCalls(1, [&] { EXPECT_EQ(m_cache->LoadTypesByTypeNames(2, names, 1), S_OK); });
    ExpectCalls(0, [&] {
        EXPECT_EQ(Find("Silo"), S_OK);
        EXPECT_EQ(Find("Tank"), S_OK);
        EXPECT_EQ(Find("Gone"), S_FALSE);
    });
    EXPECT_EQ(m_cache->LoadTypesByTypeNames(0, nullptr, 0), S_OK);
    EXPECT_EQ(m_cache->LoadTypesByTypeNames(-1, names, 0), E_INVALIDARG);
    EXPECT_EQ(m_cache->LoadTypesByTypeNames(1, nullptr, 0), E_POINTER);
}

TEST_F(Types, AFetchedTypeComesWithItsBases) {
    Edit().AddType("Tank", "Equipment", XNotify::No);
    Edit().AddType("Silo", "Tank", XNotify::No);
    Edit().AddAttribute("Tank", "Volume", 1, XNotify::No);
    ExpectCalls(2, [&] { EXPECT_EQ(Find("Silo"), S_OK); }); // the type, then the type with its bases
    EXPECT_TRUE(Attribute("Silo", "Volume"));
}

TEST_F(Types, ServerFailuresAreReturnedAndNotCached) {
    Edit().AddType("Tank", "Equipment", XNotify::No);
    Calls().FailCall("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", E_ACCESSDENIED);
    EXPECT_EQ(Find("Tank"), E_ACCESSDENIED);
    EXPECT_EQ(Find("Tank"), S_OK);
}

// In whatever order the types are linked, a new link and an old one that is not replaced yet seem to form a cycle.
TEST_F(Types, BasesThatSwapPlacesAreRelinked) {
    using Bases = std::vector<std::pair<const char*, const char*>>;
    for (const auto& [name, base] : Bases{{"A", "Item"}, {"B", "A"}, {"C", "B"}}) {
        Edit().AddType(name, base);
        Edit().AddAttribute(name, std::string("Of") + name);
    }
    EXPECT_TRUE(Has(Type("C"), "OfA") && Has(Type("C"), "OfB"));
    const auto setBases = [this](const Bases& bases) {
        for (const auto& [name, base] : bases) {
            Edit().SetTypeProperty(name, XProperty::BaseTypeName, base, XNotify::No);
        }
        m_server->SendNotification("objects/A/0/2");
    };
    setBases({{"C", "Item"}, {"B", "C"}, {"A", "B"}});
    EXPECT_TRUE(Has(Type("A"), "OfB") && Has(Type("A"), "OfC") && Has(Type("A"), "Name"));
    EXPECT_FALSE(Has(Type("C"), "OfA") || Has(Type("C"), "OfB"));
    setBases({{"A", "Item"}, {"B", "A"}, {"C", "B"}});
    EXPECT_TRUE(Has(Type("C"), "OfA") && Has(Type("C"), "OfB") && Has(Type("C"), "Name"));
}

TEST_F(Types, AddTypeReturnsACachedObject) {
    const auto added = LXGet(Factory(), &ILXConfigFactory::AddType);
    ASSERT_TRUE(added);
    EXPECT_FALSE(added.As<ILXConfigObject>()); // a cached object, not the server's
    ExpectCalls(1, [&] {                       // for all kinds that the data transfer mode includes
        EXPECT_FALSE(LXFind(added, &ILXType::GetPageEnum));
        EXPECT_FALSE(LXFind(added, &ILXType::GetGroupEnum));
    });
    Calls().FailCall("ILXConfigFactory::AddType", E_ACCESSDENIED);
    EXPECT_EQ(LXResult(Factory(), &ILXConfigFactory::AddType), E_ACCESSDENIED);
    Calls().FailCall("ILXConfigFactory::AddType", S_FALSE);
    EXPECT_EQ(LXResult(Factory(), &ILXConfigFactory::AddType), E_POINTER); // success without a type
}

TEST_F(Types, ARepeatedNotificationIsHandledOnce) {
    const auto head = Attribute("Pump", "Head");
    const auto expectReads = [&](ULONG number, unsigned expected) {
        LXNotifyStraight(m_cache, "properties/x/0/512", number);
        ExpectCalls(expected, [&] { LXRead(head.Get(), XProperty::AttributeName); });
    };
    expectReads(1000, 1);
    expectReads(1000, 0);
    expectReads(1001, 1);
    expectReads(1000, 1); // only the last one is remembered
}

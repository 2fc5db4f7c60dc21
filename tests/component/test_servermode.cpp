// SPDX-License-Identifier: MIT
//
// The cache inside the server's process. A separate program, because server mode turns the locks off for the whole
// process. These tests use the cache from one thread at a time. tests/relations/test_notificationmatrix.cpp covers
// notifications in server mode.
#include "cachefixture.h"

class ServerMode : public CacheTest {
protected:
    struct Named {
        const OLECHAR* name;
        IUnknown* object;
        VARTYPE type = VT_UNKNOWN;
    };
    HRESULT StartNamed(const std::vector<Named>& objects) {
        std::vector<XLXComBSTR> names;
        std::vector<tagLXNamedValue> values;
        for (const auto& [name, object, type] : objects) {
            names.emplace_back(XLXTextView(name));
            tagLXNamedValue value = {};
            value.bstrName = names.back().Get();
            V_VT(&value.varValue) = type;
            V_UNKNOWN(&value.varValue) = object;
            values.push_back(value);
        }
        return m_cache.As<ILXServerEntryPoint>()->InitializeNamed(static_cast<ULONG>(values.size()), values.data());
    }
};

TEST_F(ServerMode, WrapsTypesLinksBasesAndFetchesOnDemand) {
    ASSERT_EQ(StartInServer(), S_OK);
    EXPECT_EQ(Calls().Of("ILXConfigFactoryEx::GetTypeArrayEx"), 0u);
    LONG mode = 0;
    EXPECT_EQ(m_cache->GetCFCDataTransferMode(&mode), S_OK);
    EXPECT_EQ(mode, -1);
    const auto pump = Type("Pump");
    EXPECT_EQ(LXRead(pump.Get(), XProperty::BaseTypeName), OLESTR("Equipment"));
    const XCallCounts before = Calls().Counts();
    EXPECT_EQ(LXRead(Attribute("Pump", "Weight").Get(), 0), OLESTR("Weight"));
    EXPECT_EQ(Calls().Counts().Since(before).Of("ILXType::GetTypeComponentData"), 3u);
    ExpectCalls(0, [&] { Attribute("Pump", "Weight"); });
    EXPECT_EQ(LoadByName("Document", 0), S_OK); // without a transfer mode: without components
    ExpectCalls(1, [&] { LXFind(Type("Document"), &ILXType::GetPageEnum); });
    ExpectCalls(1, [&] { LXFind(Type("Document"), &ILXType::GetAttributeEnum); });
}

TEST_F(ServerMode, TypesAndSearchableTypesAreListed) {
    Edit().SetTypeProperty("Item", XProperty::Searchable, false);
    ASSERT_EQ(StartInServer(), S_OK);
    m_server->SendNotification("objects/x/0/2");
    Calls().FailCall("ILXTypeEnum::RemNext", E_ACCESSDENIED);
    EXPECT_EQ(LXResult(Factory(), &ILXConfigFactory::GetTypeEnum, nullptr), E_ACCESSDENIED);
    Names searchable = TypeNames();
    std::erase(searchable, "Item");
    EXPECT_EQ(LXList(XProperty::TypeName, Factory(), &ILXConfigFactory::GetSearchableTypeEnum), searchable);
}

TEST_F(ServerMode, FetchesANewTypeWithItsBases) {
    ASSERT_EQ(StartInServer(), S_OK);
    Edit().AddType("Tank", "Item", XNotify::No);
    Edit().AddType("Silo", "Tank", XNotify::No);
    EXPECT_EQ(LXRead(Type("Silo").Get(), XProperty::BaseTypeName), OLESTR("Tank"));
    EXPECT_EQ(LXRead(Attribute("Silo", "Name").Get(), 0), OLESTR("Name"));
    const auto get = [&](const char* name) { return LXResult(Factory(), &ILXConfigFactory::GetType, name, nullptr); };
    ExpectCalls(1, [&] { EXPECT_EQ(get("Unknown"), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(get("Unknown"), S_FALSE); });
    Edit().Change([](XServerModel& model) { model.AddType("Loop").properties.Set(XProperty::BaseTypeName, "Loop"); });
    ExpectRefusal(get("Loop"), E_FAIL,
                  "Base typename is equal with the derivative's typename.Check the PTS and remove "
                  "self-inheritance type "
                  "declarations. typename: 'Loop'");
}

TEST_F(ServerMode, TheEntryPointTakesThreeNamedObjectsAndOnlyTheQueryIsOptional) {
    const auto configFactory = m_server->ConfigFactory();
    const auto dataUpdate = m_server->DataUpdate();
    const auto queryEngine = m_server->Query();
    const Named factory{OLESTR("Configfactory"), configFactory.Get()};
    const Named update{OLESTR("UpdateMng"), dataUpdate.Get()};
    const Named query{OLESTR("QueryEngine"), queryEngine.Get()};
    const auto without = [](const Named& named, VARTYPE type) { return Named{named.name, nullptr, type}; };
    std::vector<std::pair<std::vector<Named>, HRESULT>> cases{
        {{factory, update}, E_INVALIDARG},
        {{{OLESTR("configfactory"), configFactory.Get()}, update, query}, E_INVALIDARG},
        {{{OLESTR("Configfactory"), queryEngine.Get()}, update, query}, E_INVALIDARG},
        {{update, query, factory}, S_OK}};
    for (const VARTYPE type : {VT_UNKNOWN, VT_EMPTY}) {
        cases.push_back({{factory, without(query, type), update}, S_OK});
        cases.push_back({{without(factory, type), query, update}, E_INVALIDARG});
        cases.push_back({{factory, query, without(update, type)}, E_INVALIDARG});
    }
    for (const auto& [values, expected] : cases) {
        m_cache = LXMakeCache();
        EXPECT_EQ(StartNamed(values), expected);
        EXPECT_EQ(m_server->Clients().size(), expected == S_OK ? 1u : 0u);
        if (expected == S_OK) {
            EXPECT_EQ(LXRead(Type("Pump").Get(), 0), OLESTR("Pump"));
            EXPECT_EQ(Start(), E_FAIL); // client mode is refused after server mode
        }
        Terminate();
    }
}

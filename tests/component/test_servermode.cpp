// SPDX-License-Identifier: MIT
//
// The cache inside the server's process. These tests are a program of their own, because server mode turns the locks
// off for the whole process. They use the cache from one thread at a time.
#include "cachefixture.h"

class ServerMode : public CacheTest {
protected:
    ServerMode() { m_cache = LXMakeCache(); }

    HRESULT StartInServer() {
        return m_cache->Initialize(m_server->ConfigFactory().Get(), m_server->Query().Get(),
                                   m_server->DataUpdate().Get());
    }
    HRESULT StartNamed(const std::vector<std::pair<const OLECHAR*, IUnknown*>>& objects) {
        std::vector<XLXComBSTR> names;
        std::vector<tagLXNamedValue> values;
        for (const auto& [name, object] : objects) {
            names.emplace_back(XLXTextView(name));
            tagLXNamedValue value = {};
            value.bstrName = names.back().Get();
            V_VT(&value.varValue) = VT_UNKNOWN;
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
    Terminate();
}

TEST_F(ServerMode, FetchesANewTypeWithItsBases) {
    ASSERT_EQ(StartInServer(), S_OK);
    Edit().AddType("Tank", "Item", XNotify::No);
    Edit().AddType("Silo", "Tank", XNotify::No);
    EXPECT_EQ(LXRead(Type("Silo").Get(), XProperty::BaseTypeName), OLESTR("Tank"));
    EXPECT_EQ(LXRead(Attribute("Silo", "Name").Get(), 0), OLESTR("Name"));
    XLXComPtr<ILXType> none;
    const XLXComBSTR unknown(OLESTR("Unknown"));
    ExpectCalls(1, [&] { EXPECT_EQ(Factory()->GetType(unknown.Get(), nullptr, none.Put()), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(Factory()->GetType(unknown.Get(), nullptr, none.Put()), S_FALSE); });
    Edit().Change([](XServerModel& model) { model.AddType("Loop").properties.Set(XProperty::BaseTypeName, "Loop"); });
    EXPECT_EQ(Factory()->GetType(XLXComBSTR(OLESTR("Loop")).Get(), nullptr, none.Put()), E_FAIL);
    EXPECT_EQ(LXErrorInformation::Take().description,
              OLESTR("Base typename is equal with the derivative's typename.Check the PTS and remove "
                     "self-inheritance type "
                     "declarations. typename: 'Loop'"));
    Terminate();
}

TEST_F(ServerMode, NotificationsArriveWithoutTranslation) {
    ASSERT_EQ(StartInServer(), S_OK);
    const auto head = Attribute("Pump", "Head");
    Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
    EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("Lift"));
    const auto filled = Calls().Of("ILXConfigFactory::GetTypeEnum");
    m_server->SendNotification("objects/x/0/512");
    Type("Pump");
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetTypeEnum"), filled); // the type map is not reloaded
    m_server->SendNotification("objects/x/0/2");
    Type("Pump");
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetTypeEnum"), filled + 1);
    Terminate();
}

TEST_F(ServerMode, AttributesLoadedThroughAFormerServerObjectAreStale) {
    ASSERT_EQ(StartInServer(), S_OK);
    const auto document = Type("Document");
    const auto attributes = [&] {
        return LXList<ILXAttribute, ILXAttributeEnum>(XProperty::AttributeName,
                                                      [&](auto out) { return document->GetAttributeEnum(out); });
    };
    EXPECT_EQ(attributes(), std::vector<std::string>{"Title"});
    Edit().RemoveType("Document", XNotify::No);
    Edit().AddType("Document", "", XNotify::No);
    Edit().AddAttribute("Document", "Author", 0, XNotify::No);
    m_server->SendNotification("objects/Document/0/2");
    attributes(); // the types have not been reloaded, so the old server object is asked
    EXPECT_EQ(Type("Document"), document);
    EXPECT_EQ(attributes(), std::vector<std::string>{"Author"});
    Terminate();
}

TEST_F(ServerMode, EntryPointTakesExactlyThreeNamedObjects) {
    IUnknown* const factory = m_server->ConfigFactory().Get();
    const auto keepFactory = m_server->ConfigFactory();
    const auto query = m_server->Query();
    const auto update = m_server->DataUpdate();
    EXPECT_EQ(StartNamed({{OLESTR("Configfactory"), factory}, {OLESTR("UpdateMng"), update.Get()}}), E_INVALIDARG);
    EXPECT_EQ(StartNamed({{OLESTR("configfactory"), factory},
                          {OLESTR("UpdateMng"), update.Get()},
                          {OLESTR("QueryEngine"), query.Get()}}),
              E_INVALIDARG);
    EXPECT_EQ(StartNamed({{OLESTR("Configfactory"), query.Get()},
                          {OLESTR("UpdateMng"), update.Get()},
                          {OLESTR("QueryEngine"), query.Get()}}),
              E_INVALIDARG);
    ASSERT_EQ(StartNamed({{OLESTR("UpdateMng"), update.Get()},
                          {OLESTR("QueryEngine"), query.Get()},
                          {OLESTR("Configfactory"), keepFactory.Get()}}),
              S_OK);
    EXPECT_EQ(LXRead(Type("Pump").Get(), 0), OLESTR("Pump"));
    EXPECT_EQ(Start(), E_FAIL); // client mode is refused after server mode
    Terminate();
}

TEST_F(ServerMode, TheQueryMayBeLeftOutByName) {
    const auto factory = m_server->ConfigFactory();
    const auto update = m_server->DataUpdate();
    for (const VARTYPE type : {VT_UNKNOWN, VT_EMPTY}) {
        const XLXComBSTR names[] = {XLXComBSTR(OLESTR("Configfactory")), XLXComBSTR(OLESTR("QueryEngine")),
                                    XLXComBSTR(OLESTR("UpdateMng"))};
        const XLXComVariant objects[] = {XLXComVariant::FromUnknown(factory.Get()), XLXComVariant(),
                                         XLXComVariant::FromUnknown(update.Get())};
        for (const std::size_t left : {1u, 0u, 2u}) {
            tagLXNamedValue values[3] = {};
            for (std::size_t i = 0; i < 3; ++i) {
                values[i] = {names[i].Get(), objects[i].Get()};
            }
            V_VT(&values[left].varValue) = type;
            V_UNKNOWN(&values[left].varValue) = nullptr;
            V_VT(&values[1].varValue) = type;
            m_cache = LXMakeCache();
            EXPECT_EQ(m_cache.As<ILXServerEntryPoint>()->InitializeNamed(3, values), left == 1 ? S_OK : E_INVALIDARG);
            EXPECT_EQ(m_server->Clients().size(), left == 1 ? 1u : 0u);
            Terminate();
        }
    }
}

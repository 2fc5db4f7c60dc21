// SPDX-License-Identifier: MIT
//
// Initialising and terminating a cache.
#include "XCfgCacheCallback.h"
#include "cachefixture.h"
#include "logcapture.h"

#include <future>

class Startup : public CacheTest {
protected:
    LONG Mode() {
        LONG mode = 0;
        EXPECT_EQ(m_cache->GetCFCDataTransferMode(&mode), S_OK);
        return mode;
    }
    void ExpectNotificationsArrive() {
        const auto head = Attribute("Pump", "Head");
        Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
        EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("Lift"));
    }
};

TEST_F(Startup, RegistersForBothDataTypesAndUnregisters) {
    ASSERT_EQ(Start(), S_OK);
    EXPECT_LE(Calls().Total(), 5u) << Calls().Counts().Text(); // registration, two Advise calls, types, relations
    ASSERT_EQ(m_server->Clients().size(), 1u);
    const XRegisteredClient client = m_server->Clients().front();
    EXPECT_EQ(client.process, GetCurrentProcessId());
    EXPECT_EQ(client.advices, (std::map<XLXText, ULONG>{{OLESTR("cfc"), 256}, {OLESTR("cfc_specific"), 256}}));
    Terminate();
    EXPECT_TRUE(m_server->Clients().empty());
}

TEST_F(Startup, WithoutNotificationsTheServiceIsNotCalled) {
    std::vector<XLXComVariant> values = Arguments(15, true);
    values[2] = XLXComVariant();
    ASSERT_EQ(Initialize(std::move(values)), S_OK);
    Terminate();
    EXPECT_EQ(Calls().Of("ILXDataUpdate::RegisterCallback") + Calls().Of("ILXDataUpdate::UnregisterCallback"), 0u);
}

TEST_F(Startup, ASeparateCallbackObjectForwardsNotifications) {
    ASSERT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        const XCfgCacheCallbackRegistration registration;
        ASSERT_EQ(Start(15, false, true), S_OK);
        ExpectNotificationsArrive();
        Terminate();
    }
    CoUninitialize();
}

TEST_F(Startup, RefusalsNameTheValueAndItsExpectedType) {
    struct Refusal {
        std::size_t value;
        XLXComVariant odd;
        HRESULT result;
        const char* text;
    };
    const auto text = [] { return XLXComVariant::FromBstr(OLESTR("odd")); };
    const auto object = [&] { return XLXComVariant::FromUnknown(m_server->DataObject("Pump").Get()); };
    XLXComVariant unknown;
    V_VT(&unknown.Get()) = 77; // no type of a value
    Refusal refusals[] = {
        {0, text(), DISP_E_TYPEMISMATCH, "value 0 must be an object with ILXConfigFactory"},
        {0, XLXComVariant(), E_POINTER, "value 0 must be an object with ILXConfigFactory"},
        {1, object(), E_NOINTERFACE, "value 1 must be an object with ILX_Query, or empty"},
        {1, std::move(unknown), DISP_E_BADVARTYPE, "the value cannot be copied"},
        {2, text(), DISP_E_TYPEMISMATCH, "value 2 must be an object with ILXDataUpdate, unless value 3 is true"},
        {2, XLXComVariant(), E_POINTER, "value 2 must be an object with ILXDataUpdate, unless value 3 is true"},
        {3, text(), DISP_E_TYPEMISMATCH, "value 3 must be a boolean: no notifications"},
        {4, text(), DISP_E_TYPEMISMATCH, "value 4 must be a boolean: a separate callback object"},
        {5, text(), DISP_E_TYPEMISMATCH, "value 5 must be a number: the data transfer mode"}};
    for (Refusal& refusal : refusals) {
        std::vector<XLXComVariant> values = Arguments(15, false);
        values[refusal.value] = std::move(refusal.odd);
        ExpectRefusal(Initialize(std::move(values)), refusal.result, refusal.text);
    }
    const auto cut = [&](std::size_t count) {
        std::vector<XLXComVariant> values = Arguments(15, false);
        values.resize(count);
        return values;
    };
    for (const std::size_t count : {0U, 3U, 7U}) {
        ExpectRefusal(Initialize(cut(count)), E_INVALIDARG,
                      "an initialisation takes 4 to 6 values, not " + std::to_string(count));
    }
    EXPECT_EQ(Calls().Total(), 0u);
    ASSERT_EQ(Initialize(cut(4)), S_OK);
    EXPECT_EQ(Mode(), 1);
}

TEST_F(Startup, ValuesByReferenceAreAccepted) {
    const auto values = Arguments(7, false);
    IUnknown* const query = V_UNKNOWN(&values[1].Get());
    std::vector<XLXComVariant> references(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        V_VT(&references[i].Get()) = VT_BYREF | VT_VARIANT;
        V_BYREF(&references[i].Get()) = const_cast<VARIANT*>(&values[i].Get());
    }
    V_VT(&references[1].Get()) = VT_BYREF | VT_UNKNOWN;
    V_BYREF(&references[1].Get()) = const_cast<IUnknown**>(&query);
    ASSERT_EQ(Initialize(std::move(references)), S_OK);
    EXPECT_EQ(Mode(), 7);
    EXPECT_EQ(m_cache->IsPlantype(m_server->DataObject("Pump").Get()), S_FALSE);
    EXPECT_EQ(Calls().Of("ILX_Query::GetSearchResult"), 1u);
}

TEST_F(Startup, ASecondInitialisationDoesNothing) {
    ASSERT_EQ(Start(7), S_OK);
    const auto again = [&](std::vector<XLXComVariant> values, HRESULT expected) {
        ExpectCalls(0, [&] { EXPECT_EQ(Initialize(std::move(values)), expected); });
        EXPECT_EQ(Mode(), 7);
        EXPECT_EQ(m_server->Clients().size(), 1u);
    };
    auto silent = Arguments(15, true);
    silent[2] = XLXComVariant();
    again(std::move(silent), S_OK);
    auto withoutService = Arguments(15, false);
    withoutService[2] = XLXComVariant();
    again(std::move(withoutService), E_POINTER);
    const auto otherServer = XSampleServer::Create(LXTestModel());
    auto other = Arguments(15, false);
    other[0] = XLXComVariant::FromUnknown(otherServer->ConfigFactory().Get());
    const LogCapture log;
    again(Arguments(15, false), S_OK);
    EXPECT_TRUE(log.Entries().empty());
    again(std::move(other), S_OK);
    EXPECT_EQ(otherServer->Calls().Total(), 0u);
    ASSERT_EQ(log.Entries().size(), 1u);
    EXPECT_NE(log.Entries()[0].text.find(OLESTR("initialised already, with another server")), XLXText::npos);
    ExpectNotificationsArrive();
}

TEST_F(Startup, ServerModeIsRefusedAfterClientMode) {
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(StartInServer(), E_FAIL);
    const auto error = LXErrorInformation::Take();
    EXPECT_EQ(error.description, OLESTR("initializing the CFC has already be called from serverside and cannot be used "
                                        "in a client application"));
    EXPECT_NE(error.source.find(OLESTR("XLXConfigFactoryCacheManager::Initialize (lxconfigfactorycachemanager, line")),
              XLXText::npos);
    EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeName), OLESTR("Pump"));
}

TEST_F(Startup, FailedRegistrationLeavesNothingBehind) {
    unsigned unregistered = 0;
    for (const char* call : {"ILXDataUpdate::RegisterCallback", "ILXDataUpdate::EnableAdvicesDataType"}) {
        m_cache = LXMakeCache();
        Calls().FailCall(call, E_ACCESSDENIED);
        ExpectRefusal(Start(), E_ACCESSDENIED, "RegisterCallback()");
        EXPECT_TRUE(m_server->Clients().empty()) << call;
        EXPECT_EQ(Calls().Of("ILXDataUpdate::UnregisterCallback"), unregistered++) << call;
    }
}

TEST_F(Startup, ConcurrentInitialisationsRegisterOnce) {
    m_cache = LXMakeCache();
    std::vector<std::future<HRESULT>> starts;
    for (int i = 0; i < 8; ++i) {
        starts.push_back(std::async(std::launch::async, [&] { return Start(); }));
    }
    for (auto& start : starts) {
        EXPECT_EQ(start.get(), S_OK);
    }
    EXPECT_EQ(Calls().Of("ILXDataUpdate::RegisterCallback"), 1u);
    EXPECT_EQ(Calls().Of("ILXConfigFactoryEx::GetTypeArrayEx"), 1u);
}

TEST_F(Startup, ValidityIdentityAndTerminationOfTheServer) {
    ASSERT_EQ(Start(), S_OK);
    LONG valid = 0;
    EXPECT_EQ(m_cache->IsValid(&valid), S_OK);
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(m_cache->SetInvalid(), S_OK);
    EXPECT_EQ(m_cache->IsValid(&valid), S_OK);
    EXPECT_EQ(valid, 0);
    ExpectRefusal(m_cache->IsValid(nullptr), E_POINTER, "invalid pointer: pbValid");
    ExpectRefusal(m_cache->QueryInterface(IID_IUnknown, nullptr), E_POINTER, "invalid pointer: ppv");
    EXPECT_EQ(LXGet(m_cache, &ILXConfigFactoryCache::GetRealConfigFactory), m_server->ConfigFactory());

    EXPECT_EQ(Factory()->NotifyServerTermination(), S_OK);
    const auto before = Calls().Total();
    EXPECT_EQ(Edit().AddType("Late").result, S_OK);
    LXGet(Factory(), &ILXConfigFactory::GetTypeEnum, nullptr);
    EXPECT_EQ(Calls().Total(), before); // the notification had no effect
}

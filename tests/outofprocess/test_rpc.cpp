// SPDX-License-Identifier: MIT
//
// Calls between processes: arrays, identity of objects, failures; and the lifetime of the server's program.
#include "outofprocess.h"

#include "XLXSafeArray.h"
#include "XToolServer.h"

namespace {
/// A value as text: for objects only their presence, for arrays their content.
std::string TextOf(const VARIANT& value) {
    if (V_VT(&value) == VT_UNKNOWN || V_VT(&value) == VT_DISPATCH) {
        return V_UNKNOWN(&value) != nullptr ? "object" : "no object";
    }
    if (V_VT(&value) == (VT_ARRAY | VT_VARIANT)) {
        LONG lower = 0;
        LONG upper = -1;
        SafeArrayGetLBound(V_ARRAY(&value), 1, &lower);
        SafeArrayGetUBound(V_ARRAY(&value), 1, &upper);
        std::string text = "[" + std::to_string(lower) + ":";
        VARIANT* elements = nullptr;
        SafeArrayAccessData(V_ARRAY(&value), reinterpret_cast<void**>(&elements));
        for (LONG i = 0; i <= upper - lower; ++i) {
            text += " " + TextOf(elements[i]);
        }
        SafeArrayUnaccessData(V_ARRAY(&value));
        return text + "]";
    }
    return std::to_string(V_VT(&value)) + "=" + LXToUtf8(XLXComVariant::CopyOf(value).AsText().value_or(OLESTR("?")));
}

/// The result of a method that returns an array, as text.
template <class Call> std::string ArrayOf(Call&& call) {
    SAFEARRAY* array = nullptr;
    const HRESULT result = call(&array);
    if (result != S_OK) { return LXResultName(result); }
    VARIANT value = {};
    V_VT(&value) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(&value) = array;
    const std::string text = TextOf(value);
    VariantClear(&value);
    return text;
}

/// The bulk reads of a server, one per line.
std::vector<std::string> BulkReads(ILXConfigFactory& factory) {
    const auto extended = XLXComPtr<ILXConfigFactory>(&factory).As<ILXConfigFactoryEx>();
    XLXComPtr<ILXType> pump;
    XLXComPtr<ILXAttribute> power;
    LXExpect(factory.GetType(LXBstr(EditedType).Get(), nullptr, pump.Put()), "GetType");
    LXExpect(pump->GetAttribute(LXBstr(EditedAttribute).Get(), power.Put()), "GetAttribute");
    SAFEARRAY* const names = SafeArrayCreateVector(VT_BSTR, 0, 2);
    LONG index = 0;
    for (const char* const name : {"Vessel", DerivedType}) {
        SafeArrayPutElement(names, &index, LXBstr(name).Get());
        ++index;
    }
    std::vector<std::string> reads = {
        ArrayOf([&](auto** out) { return extended->GetTypeArrayEx(15, out); }),
        ArrayOf([&](auto** out) { return extended->GetTypeArrayByTypeNameArrayEx(names, 1, 15, out); }),
        ArrayOf([&](auto** out) { return factory.GetPCArray(out); }),
        ArrayOf([&](auto** out) { return pump->GetTypeComponentData(15, out); }),
        ArrayOf([&](auto** out) { return power->GetProperties(out); })};
    SafeArrayDestroy(names);
    return reads;
}

bool IsSameObject(const XLXComPtr<IUnknown>& one, const XLXComPtr<IUnknown>& other) {
    return one.As<IUnknown>() == other.As<IUnknown>();
}

class Rpc : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_server.Control().GetServices(m_factory.Put(), m_query.Put(), m_update.Put()), S_OK);
    }
    XLXComPtr<ILX_BaseDataObject> Stored(const char* id) {
        XLXComPtr<ILX_BaseDataObject> object;
        EXPECT_EQ(m_server.Control().GetStoredObject(LXBstr(id).Get(), object.Put()), S_OK);
        return object;
    }

    const Server m_server;
    XLXComPtr<ILXConfigFactory> m_factory;
    XLXComPtr<ILX_Query> m_query;
    XLXComPtr<ILXDataUpdate> m_update;
};
} // namespace

TEST_F(Rpc, ArraysArriveAsTheyWereSent) {
    const auto local = XSampleServer::Create(LXSmallModel());
    local->DeliverComponentObjects(false);
    const auto expected = BulkReads(*local->ConfigFactory());
    const auto arrived = BulkReads(*m_factory);
    ASSERT_EQ(arrived.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(arrived[i], expected[i]);
        EXPECT_GT(arrived[i].size(), 40u); // both have data, not failures
    }
}

TEST_F(Rpc, EnumeratorsGiveWhatIsLeft) {
    XLXComPtr<ILXTypeEnum> types;
    ASSERT_EQ(m_factory->GetTypeEnum(nullptr, types.Put()), S_OK);
    ILXType* first[2] = {};
    ULONG fetched = 0;
    ASSERT_EQ(types->RemNext(2, first, &fetched), S_OK);
    EXPECT_EQ(fetched, 2u);
    ILXType* rest[20] = {};
    ASSERT_EQ(types->RemNext(20, rest, &fetched), S_FALSE);
    std::size_t listed = 0;
    for (const auto& [name, type] : LXSmallModel().types) {
        listed += type->listed ? 1 : 0;
    }
    EXPECT_EQ(fetched + 2, listed);
    EXPECT_EQ(rest[fetched], nullptr);
    for (ULONG i = 0; i < fetched + 2; ++i) {
        const XLXComPtr<ILXType> type = LXAttach(i < 2 ? first[i] : rest[i - 2]);
        EXPECT_NE(LXTextOf(*type, XProperty::TypeName), "");
    }
}

TEST_F(Rpc, ObjectsKeepTheirIdentity) {
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    ASSERT_EQ(m_server.Control().GetServices(factory.Put(), query.Put(), update.Put()), S_OK);
    EXPECT_TRUE(IsSameObject(factory, m_factory));
    EXPECT_TRUE(IsSameObject(update, m_update));
    EXPECT_FALSE(IsSameObject(query, m_query));

    // The server recognises its own objects when a client passes them.
    const auto pump = Stored("P1");
    XLXComPtr<ILX_BaseDataObject> vessel;
    ASSERT_EQ(Stored("R1").As<ILXRelation>()->GetRelatedObject(pump.Get(), vessel.Put()), S_OK);
    EXPECT_TRUE(IsSameObject(vessel, Stored("V1")));
    XLXComPtr<ILXType> type;
    XLXComPtr<ILXPage> page;
    ASSERT_EQ(m_factory->GetType(LXBstr(EditedType).Get(), nullptr, type.Put()), S_OK);
    ASSERT_EQ(type->GetPage(2, page.Put()), S_OK);
    LONG removed = 0;
    EXPECT_EQ(type->RemovePage(page.Get(), &removed), S_OK);
    XLXComPtr<ILXPage> gone;
    EXPECT_EQ(type->GetPage(2, gone.Put()), S_FALSE);
}

TEST_F(Rpc, AnEditThatCannotBeDoneIsRefusedWithAReason) {
    const auto tool = LXRegisteredToolServer("LXSampleServer.Server");
    const std::string before = LXSnapshot(*m_factory);
    const struct {
        const char* json;
        const char* reason; // part of the text
    } table[] = {{"", "parse"},
                 {"{", "parse"},
                 {"[]", "\"edit\""},
                 {R"({"edit":7})", "\"edit\""},
                 {R"({"edit":"Paint"})", "Paint"},
                 {R"({"edit":"AddType"})", "\"name\" is missing"},
                 {R"({"edit":"AddType","name":"A","colour":1})", "\"colour\""},
                 {R"({"edit":"AddType","name":1})", "\"name\" must be a text"},
                 {R"({"edit":"AddPage","type":"Pump","number":"1"})", "\"number\" must be a whole number"},
                 {R"({"edit":"AddPage","type":"Pump","number":4294967296})", "\"number\" must be a whole number"},
                 {R"({"edit":"SetTypeProperty","type":"Pump","index":3,"value":[]})", "\"value\" must be"},
                 {R"({"edit":"SetTypeProperty","type":"Pump","index":999,"value":1})", "999"},
                 {R"({"edit":"RemoveType","type":"Pump","name":"Unknown"})", "\"type\""},
                 {R"({"edit":"RemoveType","name":"Unknown"})", "no such type"}};
    for (const auto& test : table) {
        EXPECT_EQ(m_server.TryEdit(test.json), E_INVALIDARG) << test.json;
        try {
            tool->Edit(test.json);
            ADD_FAILURE() << test.json;
        } catch (const XToolFailure& refusal) {
            EXPECT_NE(std::string(refusal.what()).find(test.reason), std::string::npos)
                << test.json << ": " << refusal.what();
        }
    }
    EXPECT_EQ(LXSnapshot(*m_factory), before);
    EXPECT_EQ(m_server.TryEdit(R"({"edit":"AddAttribute","type":"Pump","name":"New"})"), S_OK);
    EXPECT_NE(LXSnapshot(*m_factory), before);
}

// One library has the proxies of all interfaces, and registering a type library must not replace any of them.
TEST(Proxies, StandForEveryInterface) {
    constexpr CLSID library = {0x0B28003D, 0x73C2, 0x400E, {0x9E, 0x87, 0x3E, 0xB4, 0x6C, 0xC8, 0x6F, 0x1D}};
    const auto expect = [&](const IID& iid) {
        CLSID found = {};
        EXPECT_EQ(CoGetPSClsid(iid, &found), S_OK);
        EXPECT_EQ(found, library);
    };
    const auto expectAll = [&]<class... I>() { (expect(LXIid<I>()), ...); };
    expectAll.operator()<ILXTypeEnum, ILXPageEnum, ILXGroupEnum, ILXAttributeEnum, ILXAttributeTypeEnum,
                         ILXConfObjEditorEnum, ILXParentChildEnum, ILXPCInfoEnum, ILXBrowserIdEnum,
                         ILXGlobalAttributeFormatSpecEnum, IEnumBaseDataObject>();
    expectAll.operator()<ILXConfigObject, ILXType, ILXPage, ILXFormat, ILXAttributeType, ILXConfObjEditor, ILXPCInfo,
                         ILXBrowserId, ILXGroup, ILXAttribute, ILXParentChild, ILXGlobalAttributeFormatSpec,
                         ILXConfigFactory, ILXConfigFactoryEx>();
    expectAll.operator()<ILXCallback, ILXCallbackUpdate, IXCfgCacheCallback, ILX_BaseDataObject, ILXRelation, ILX_Query,
                         ILXDataUpdate, ILXConfigFactoryCache, IDPFObject, ILXServerEntryPoint>();
}

// The cache's own interfaces also have proxies, because a program may pass the cache to a thread in another apartment.
TEST_F(Rpc, TheCacheItselfMayBeCalledThroughProxies) {
    CacheClient client(m_server.Control());
    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(LXIid<ILXConfigFactoryCache>(), client.Cache().Get(), &stream),
              S_OK);
    std::thread([stream, own = client.Cache().Get()] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        {
            XLXComPtr<ILXConfigFactoryCache> cache;
            ASSERT_EQ(CoGetInterfaceAndReleaseStream(stream, LXIid<ILXConfigFactoryCache>(), cache.PutVoid()), S_OK);
            ASSERT_NE(cache.Get(), own);
            LONG count = 0;
            BSTR* names = nullptr;
            EXPECT_EQ(cache->GetAllDerivedTypes(LXBstr("Equipment").Get(), &count, &names), S_OK);
            std::vector<std::string> derived;
            for (LONG i = 0; i < count; ++i) {
                derived.push_back(LXToUtf8(LXBstrView(names[i])));
                SysFreeString(names[i]);
            }
            CoTaskMemFree(names);
            EXPECT_EQ(derived, (std::vector<std::string>{"CentrifugalPump", "Pump", "Vessel"}));

            const XLXComBSTR equipment = LXBstr("Equipment");
            const XLXComBSTR document = LXBstr("Document");
            BSTR asked[] = {document.Get(), equipment.Get(), document.Get()};
            LONG answers[] = {7, 7, 7};
            EXPECT_EQ(cache->CheckTypeDerivesFrom(LXBstr(DerivedType).Get(), 3, asked, answers), S_OK);
            EXPECT_EQ(answers[0] * 100 + answers[1] * 10 + answers[2], 10);

            tagLXClientInfo info = {};
            EXPECT_EQ(cache.As<ILXCallbackUpdate>()->GetClientInfo(&info), S_OK);
            EXPECT_EQ(info.ulProcessID, GetCurrentProcessId());
            EXPECT_NE(LXBstrView(info.bstrComputerName), XLXTextView());
            for (const BSTR text : {info.bstrTransactionName, info.bstrComputerName, info.bstrUserName, info.bstrPWD}) {
                SysFreeString(text);
            }
            VARIANT values[1] = {};
            EXPECT_EQ(cache.As<IDPFObject>()->Initialize(1, values), E_INVALIDARG); // from the cache
        }
        CoUninitialize();
    }).join();
    EXPECT_EQ(client.Terminate(), S_OK);
}

TEST(ServerProgram, IsStartedByTheFirstClientAndEndsAfterTheLast) {
    XLXComPtr<ILXSampleServer> server = LXConnect();
    ASSERT_TRUE(server);
    XLXComBSTR status;
    ASSERT_EQ(server->GetStatus(status.Put()), S_OK);
    HANDLE const process = OpenProcess(SYNCHRONIZE, FALSE, LXParseStatus(LXToUtf8(status.View())).process);
    ASSERT_NE(process, nullptr);
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    ASSERT_EQ(server->GetServices(factory.Put(), query.Put(), update.Put()), S_OK);
    query.Reset();
    update.Reset();
    server.Reset();
    EXPECT_EQ(WaitForSingleObject(process, 8000), WAIT_TIMEOUT); // longer than it waits for clients
    EXPECT_NE(LXSnapshot(*factory), "");
    {
        const auto again = LXConnect();
        ASSERT_TRUE(again);
        XLXComPtr<ILXConfigFactory> same;
        ASSERT_EQ(again->GetServices(same.Put(), query.Put(), update.Put()), S_OK);
        EXPECT_TRUE(IsSameObject(same, factory));
        factory.Reset();
        query.Reset();
        update.Reset();
    }
    EXPECT_EQ(WaitForSingleObject(process, 30000), WAIT_OBJECT_0);
    CloseHandle(process);
}

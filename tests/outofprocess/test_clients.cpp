// SPDX-License-Identifier: MIT
//
// Caches in front of a server in another process: notifications, the sudden death of the server, and proxies.
// "lxcfc check" and "lxcfc verify-server" compare all answers between processes (tests/lxcfc/test_server.py). Every
// started process ends with the object that represents it, at the latest with the test program.
#include "LXSampleServer.h"
#include "XServerTexts.h"
#include "XToolCom.h"
#include "XToolOutput.h"
#include "programs_windows.h"
#include "waiting.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

namespace {
using namespace std::chrono_literals;

/// The tests edit the label of an attribute "Power" that this type inherits from Pump.
constexpr const char* DerivedType = "CentrifugalPump";

std::string LabelEdit(const std::string& label) {
    return R"({"edit":"SetAttributeProperty","type":"Pump","name":"Power","index":)" +
           std::to_string(XProperty::Label) + R"(,"value":")" + label + R"("})";
}

/// Whether a result means that the other process has ended.
bool MeansGone(HRESULT result) {
    constexpr ULONG codes[] = {0x800706BA, 0x800706BE, 0x800706BF, 0x80010108, 0x80010007, 0x80010012};
    return std::find(std::begin(codes), std::end(codes), static_cast<ULONG>(result)) != std::end(codes);
}

constexpr const OLECHAR* Modules[] = {OLESTR("LXConfigFactoryCache32.dll"), OLESTR("LXConfigFactoryCachePS.dll"),
                                      OLESTR("LXSampleServerPS.dll"), OLESTR("LXCfgCacheCallback.dll")};
constexpr const OLECHAR* ServerProgram = OLESTR("lxsampleserver.exe");

DWORD RunServerProgram(const OLECHAR* option) {
    return Process(ServerProgram, option).Wait(30s).value_or(WAIT_TIMEOUT);
}

class Registered : public testing::Environment {
    void SetUp() override {
        ASSERT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (const OLECHAR* const module : Modules) {
            ASSERT_EQ(CallModule(module, "DllRegisterServer"), S_OK) << LXToUtf8(module);
        }
        ASSERT_EQ(RunServerProgram(OLESTR("--register")), 0u);
    }
    void TearDown() override {
        EXPECT_EQ(RunServerProgram(OLESTR("--unregister")), 0u);
        for (const OLECHAR* const module : Modules) {
            EXPECT_EQ(CallModule(module, "DllUnregisterServer"), S_OK) << LXToUtf8(module);
        }
        CoUninitialize();
    }
};

testing::Environment* const g_registered = testing::AddGlobalTestEnvironment(new Registered);

/// The server's control object; null if there is none.
XLXComPtr<ILXSampleServer> Connect() {
    constexpr HRESULT NotExecuted = HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE);
    XLXComPtr<ILXSampleServer> control;
    HRESULT result = NotExecuted;
    // Wine keeps connections by the server's process id. A kept connection to an ended server with the same id fails
    // once.
    for (int attempt = 0; attempt < 2 && result == NotExecuted; ++attempt) {
        result = CoCreateInstance(CLSID_LXSampleServer, nullptr, CLSCTX_LOCAL_SERVER, LXIid<ILXSampleServer>(),
                                  control.PutVoid());
    }
    EXPECT_EQ(result, S_OK) << LXResultName(result);
    return control;
}

/// A server program that serves the small model.
class Server {
public:
    enum class Use {
        ByMany,
        ByOne ///< not offered to others, because under Wine these would still find it after it was killed
    };

    explicit Server(Use use = Use::ByMany) {
        // A request before the program is ready would make COM start a second one.
        const std::wstring event = OLESTR("lx-ready-") + std::to_wstring(GetCurrentProcessId()) + OLESTR("-") +
                                   std::to_wstring(GetTickCount64());
        HANDLE const ready = CreateEventW(nullptr, TRUE, FALSE, event.c_str());
        m_process.emplace(ServerProgram, OLESTR("--ready-event ") + event +
                                             (use == Use::ByOne ? OLESTR(" --single-use") : OLESTR("")));
        const bool isReady = WaitForSingleObject(ready, 30000) == WAIT_OBJECT_0;
        CloseHandle(ready);
        m_control = isReady ? Connect() : nullptr;
        LXExpectThat(static_cast<bool>(m_control), "the server program cannot be reached");
    }
    ~Server() {
        m_control->Stop(); // fails if the server has already ended
        m_process->Wait(20s);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    ILXSampleServer& Control() const { return *m_control; }
    const Process& Program() const { return *m_process; }
    XServerStatus Status() const {
        XLXComBSTR status;
        LXExpect(m_control->GetStatus(status.Put()), "GetStatus");
        return LXParseStatus(LXToUtf8(status.View()));
    }
    XNotification Edit(const std::string& json) const {
        XLXComBSTR outcome;
        LXExpect(m_control->Edit(LXBstr(json).Get(), outcome.Put()), "Edit");
        return LXParseNotification(LXToUtf8(outcome.View()));
    }

private:
    std::optional<Process> m_process;
    XLXComPtr<ILXSampleServer> m_control;
};

/// A cache initialised with the services of the server.
class CacheClient {
public:
    explicit CacheClient(ILXSampleServer& server, bool separateCallback = false) {
        XLXComPtr<ILXConfigFactory> factory;
        XLXComPtr<ILX_Query> query;
        XLXComPtr<ILXDataUpdate> update;
        LXExpect(server.GetServices(factory.Put(), query.Put(), update.Put()), "GetServices");
        LXExpect(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER,
                                  LXIid<ILXConfigFactoryCache>(), m_cache.PutVoid()),
                 "CoCreateInstance(CLSID_LXConfigFactoryCache)");
        XLXComVariant values[] = {XLXComVariant::FromUnknown(factory.Get()), XLXComVariant::FromUnknown(query.Get()),
                                  XLXComVariant::FromUnknown(update.Get()),  XLXComVariant::FromBool(false),
                                  XLXComVariant::FromBool(separateCallback), XLXComVariant::FromI4(15)};
        LXExpect(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()), "IDPFObject::Initialize");
    }

    HRESULT Terminate() { return m_cache.As<IDPFObject>()->Terminate(); }
    const XLXComPtr<ILXConfigFactoryCache>& Cache() const { return m_cache; }
    /// The attribute that the tests edit, as the derived type has it.
    XLXComPtr<ILXAttribute> Attribute() const {
        XLXComPtr<ILXType> type;
        LXExpect(m_cache.As<ILXConfigFactory>()->GetType(LXBstr(DerivedType).Get(), nullptr, type.Put()), "GetType");
        XLXComPtr<ILXAttribute> attribute;
        LXExpect(type->GetAttribute(LXBstr("Power").Get(), attribute.Put()), "GetAttribute");
        return attribute;
    }

private:
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};
} // namespace

class Callbacks : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(OutOfProcess, Callbacks, testing::Bool(),
                         [](const auto& test) { return test.param ? "Separate" : "Own"; });

TEST_P(Callbacks, NotificationsArriveAndNoReferenceIsLeft) {
    const Server server;
    const XServerObjectCount before = server.Status().live;
    {
        CacheClient client(server.Control(), GetParam());
        const auto clients = server.Status().clients;
        ASSERT_EQ(clients.size(), 1u);
        EXPECT_EQ(clients[0].process, GetCurrentProcessId());
        const auto held = client.Attribute();
        EXPECT_NE(LXTextOf(*held, XProperty::Label), "by another process");
        const XNotification sent = server.Edit(LabelEdit("by another process"));
        EXPECT_EQ(sent.clients, 1);
        EXPECT_EQ(sent.result, S_OK);
        EXPECT_EQ(LXTextOf(*held, XProperty::Label), "by another process");
        EXPECT_EQ(client.Terminate(), S_OK);
        EXPECT_TRUE(server.Status().clients.empty());
        EXPECT_EQ(server.Edit(LabelEdit("after the end")).clients, 0);
    }
    EXPECT_TRUE(WaitFor([&] { return server.Status().live.references <= before.references; }))
        << server.Status().live.references << " references are left, " << before.references << " before";
}

TEST(OutOfProcess, TheServerIsKilledInsideACall) {
    const Server server(Server::Use::ByOne);
    CacheClient client(server.Control());
    const auto attribute = client.Attribute();
    const std::string label = LXTextOf(*attribute, XProperty::Label);
    // One call is in progress in the server when the server dies.
    ASSERT_EQ(server.Control().SetDelay(20'000'000), S_OK);
    std::atomic<HRESULT> interrupted{S_OK};
    std::thread waiting([&] {
        XLXComPtr<ILXFormat> format;
        interrupted = attribute->GetFormat(7, format.Put());
    });
    std::this_thread::sleep_for(200ms);
    const auto killed = std::chrono::steady_clock::now();
    server.Program().Kill();
    waiting.join();
    EXPECT_TRUE(MeansGone(interrupted)) << LXResultName(interrupted);

    EXPECT_EQ(LXTextOf(*attribute, XProperty::Label), label);
    XLXComPtr<ILXFormat> format;
    const HRESULT refused = attribute->GetFormat(8, format.Put());
    EXPECT_TRUE(MeansGone(refused)) << LXResultName(refused);
    EXPECT_FALSE(format);
    EXPECT_EQ(client.Terminate(), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 20s);
}

// One library has all proxies. The registration of a type library must not replace any of them.
TEST(Proxies, ExistForEveryInterface) {
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

// The cache's own interfaces have proxies too: a program may hand the cache to a thread of another apartment.
TEST(Proxies, OfTheCacheWork) {
    const Server server;
    CacheClient client(server.Control());
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
            EXPECT_EQ(cache.As<IDPFObject>()->Initialize(1, values), E_INVALIDARG); // by the cache: too few
        }
        CoUninitialize();
    }).join();
    EXPECT_EQ(client.Terminate(), S_OK);
}

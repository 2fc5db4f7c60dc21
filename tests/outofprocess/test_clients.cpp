// SPDX-License-Identifier: MIT
//
// Caches in front of a server in another process: notifications, the sudden death of the server, and proxies.
// "lxcfc check" and "lxcfc verify-server" compare all answers between processes (tests/lxcfc/test_server.py). Every
// started process ends with the object that represents it, at the latest with the test program.
#include "LXSampleServer.h"
#include "XRegisteredSample.h"
#include "XServerTexts.h"
#include "XToolCom.h"
#include "programs_windows.h"
#include "surface.h"
#include "waiting.h"

#include <lxcfc.hpp>

#include <gtest/gtest.h>

#include <objbase.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <set>
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
        m_tool = LXRegisteredSample(*m_control);
    }
    ~Server() {
        m_control->Stop(); // fails if the server has already ended
        m_process->Wait(20s);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    ILXSampleServer& Control() const { return *m_control; }
    XToolServer& Tool() const { return *m_tool; }
    const Process& Program() const { return *m_process; }
    XServerStatus Status() const {
        XLXComBSTR status;
        LXExpect(m_control->GetStatus(status.Put()), "GetStatus");
        return LXParseStatus(LXToUtf8(status.View()));
    }

private:
    std::optional<Process> m_process;
    XLXComPtr<ILXSampleServer> m_control;
    std::unique_ptr<XToolServer> m_tool;
};

/// A cache initialised with the services of the server. Its user terminates it.
lxcfc::Cache Start(XToolServer& server, bool separateCallback = false) {
    lxcfc::Ptr<ILXConfigFactoryCache> cache = lxcfc::detail::CreateCache();
    XLXComVariant values[] = {XLXComVariant::FromUnknown(server.ConfigFactory().Get()),
                              XLXComVariant::FromUnknown(server.Query().Get()),
                              XLXComVariant::FromUnknown(server.DataUpdate().Get()),
                              XLXComVariant::FromBool(false),
                              XLXComVariant::FromBool(separateCallback),
                              XLXComVariant::FromI4(15)};
    LXExpect(cache.As<IDPFObject>()->Initialize(6, &values[0].Get()), "IDPFObject::Initialize");
    return lxcfc::Cache(std::move(cache));
}
HRESULT Terminate(const lxcfc::Cache& cache) {
    return lxcfc::Ptr<ILXConfigFactoryCache>(&cache.RawCache()).As<IDPFObject>()->Terminate();
}
/// The attribute that the tests edit, as the derived type has it.
lxcfc::Attribute PowerOf(const lxcfc::Cache& cache) { return cache.Type(DerivedType).Attribute("Power"); }
} // namespace

class Callbacks : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(OutOfProcess, Callbacks, testing::Bool(),
                         [](const auto& test) { return test.param ? "Separate" : "Own"; });

TEST_P(Callbacks, NotificationsArriveAndNoReferenceIsLeft) {
    const Server server;
    const XServerObjectCount before = server.Status().live;
    {
        const lxcfc::Cache cache = Start(server.Tool(), GetParam());
        const auto clients = server.Status().clients;
        ASSERT_EQ(clients.size(), 1u);
        EXPECT_EQ(clients[0].process, GetCurrentProcessId());
        const lxcfc::Attribute held = PowerOf(cache);
        EXPECT_NE(held.Text<std::string>(lx::Label), "by another process");
        const XNotification sent = server.Tool().Edit(LabelEdit("by another process"));
        EXPECT_EQ(sent.clients, 1);
        EXPECT_EQ(sent.result, S_OK);
        EXPECT_EQ(held.Text<std::string>(lx::Label), "by another process");
        EXPECT_EQ(Terminate(cache), S_OK);
        EXPECT_TRUE(server.Status().clients.empty());
        EXPECT_EQ(server.Tool().Edit(LabelEdit("after the end")).clients, 0);
    }
    EXPECT_TRUE(WaitFor([&] { return server.Status().live.references <= before.references; }))
        << server.Status().live.references << " references are left, " << before.references << " before";
}

TEST(OutOfProcess, TheServerIsKilledInsideACall) {
    const Server server(Server::Use::ByOne);
    const lxcfc::Cache cache = Start(server.Tool());
    const lxcfc::Attribute attribute = PowerOf(cache);
    const lxcfc::String label = attribute.Text(lx::Label);
    // One call is in progress in the server when the server dies.
    ASSERT_EQ(server.Control().SetDelay(20'000'000), S_OK);
    std::atomic<HRESULT> interrupted{S_OK};
    std::thread waiting([&] {
        XLXComPtr<ILXFormat> format;
        interrupted = attribute.Raw().GetFormat(7, format.Put());
    });
    std::this_thread::sleep_for(200ms);
    const auto killed = std::chrono::steady_clock::now();
    server.Program().Kill();
    waiting.join();
    EXPECT_TRUE(MeansGone(interrupted)) << LXResultName(interrupted);

    EXPECT_EQ(attribute.Text(lx::Label), label);
    XLXComPtr<ILXFormat> format;
    const HRESULT refused = attribute.Raw().GetFormat(8, format.Put());
    EXPECT_TRUE(MeansGone(refused)) << LXResultName(refused);
    EXPECT_FALSE(format);
    EXPECT_EQ(Terminate(cache), S_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 20s);
}

// One library has all proxies. The registration of a type library must not replace any of them.
TEST(Proxies, ExistForEveryInterface) {
    constexpr CLSID library = {0x0B28003D, 0x73C2, 0x400E, {0x9E, 0x87, 0x3E, 0xB4, 0x6C, 0xC8, 0x6F, 0x1D}};
    // The definitions' local interfaces, and those of the platform.
    const std::set<std::string> others = {"ILXTypeCache", "ILXTypeInheritance", "IClassFactory", "ISupportErrorInfo"};
    for (const XInterface& interface_ : LXSurface()) {
        if (others.contains(interface_.name)) { continue; }
        CLSID found = {};
        EXPECT_EQ(CoGetPSClsid(*interface_.iid, &found), S_OK) << interface_.name;
        EXPECT_EQ(found, library) << interface_.name;
    }
}

// The cache's own interfaces have proxies too: a program may hand the cache to a thread of another apartment.
TEST(Proxies, OfTheCacheWork) {
    const Server server;
    const lxcfc::Cache client = Start(server.Tool());
    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(LXIid<ILXConfigFactoryCache>(), &client.RawCache(), &stream), S_OK);
    std::thread([stream, own = &client.RawCache()] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        {
            lxcfc::Ptr<ILXConfigFactoryCache> cache;
            ASSERT_EQ(CoGetInterfaceAndReleaseStream(stream, LXIid<ILXConfigFactoryCache>(),
                                                     reinterpret_cast<void**>(cache.Put())),
                      S_OK);
            ASSERT_NE(cache.Get(), own);
            EXPECT_EQ(lxcfc::Cache(cache).DerivedTypes("Equipment"),
                      (std::vector<lxcfc::String>{L"CentrifugalPump", L"Pump", L"Vessel"}));
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
    EXPECT_EQ(Terminate(client), S_OK);
}

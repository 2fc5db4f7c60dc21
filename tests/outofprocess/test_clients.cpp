// SPDX-License-Identifier: MIT
//
// Caches in front of a server in another process: notifications, what happens when one side is no more, and proxies.
// "lxcfc check" and "lxcfc verify-server" compare all answers between processes (tests/lxcfc/test_server.py).
#include "outofprocess.h"

#include "LXError32.h"

#include <atomic>

namespace {
/// Whether the cache was told of a change on a thread that is not this one.
class ThreadWatch {
public:
    ThreadWatch() { LXErrorSetLogSink(&ThreadWatch::Take, this, 1U << LX_LOG_UPDATE); }
    ~ThreadWatch() { LXErrorSetLogSink(nullptr, nullptr, 0); }
    ThreadWatch(const ThreadWatch&) = delete;
    ThreadWatch& operator=(const ThreadWatch&) = delete;

    int OnOtherThreads() const { return m_onOthers; }

private:
    static void STDMETHODCALLTYPE Take(const LXLogEntry*, void* context) {
        auto& self = *static_cast<ThreadWatch*>(context);
        self.m_onOthers += std::this_thread::get_id() != self.m_own ? 1 : 0;
    }

    const std::thread::id m_own = std::this_thread::get_id();
    std::atomic<int> m_onOthers{0};
};

HRESULT ReadLabel(ILXAttribute& attribute) {
    XLXComVariant value;
    return attribute.GetProperty(XProperty::Label, value.Put());
}

/// Threads that read a cached value all the time, and note every answer other than S_OK.
class Readers {
public:
    explicit Readers(const XLXComPtr<ILXAttribute>& attribute) {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this, attribute] {
                for (; !m_stop; ++m_reads) {
                    const HRESULT result = ReadLabel(*attribute);
                    m_failed = result != S_OK ? result : m_failed.load();
                }
            });
        }
    }
    ~Readers() { Stop(); }
    Readers(const Readers&) = delete;
    Readers& operator=(const Readers&) = delete;

    bool GoOn() const {
        const auto before = m_reads.load();
        return LXWaitFor([&] { return m_reads > before + 1000; });
    }
    HRESULT Failed() const { return m_failed; }
    void Stop() {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.joinable() ? thread.join() : void();
        }
    }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<unsigned long long> m_reads{0};
    std::atomic<HRESULT> m_failed{S_OK};
    std::thread m_threads[3];
};

/// Terminates the cache, which must not take long; the result, or nothing when it did.
std::optional<HRESULT> TerminateInTime(CacheClient& client) {
    const auto start = std::chrono::steady_clock::now();
    const HRESULT result = client.Terminate();
    return std::chrono::steady_clock::now() - start < 10s ? std::optional<HRESULT>(result) : std::nullopt;
}
} // namespace

class CallbackWays : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(OutOfProcess, CallbackWays, testing::Bool(),
                         [](const auto& test) { return test.param ? "Separate" : "Own"; });

TEST_P(CallbackWays, NotificationsComeAndNothingIsLeft) {
    const Server server;
    const XServerObjectCount before = server.Status().live;
    {
        CacheClient client(server.Control(), GetParam());
        EXPECT_TRUE(server.HasClient(GetCurrentProcessId()));
        const auto held = client.Attribute(DerivedType, EditedAttribute);
        const std::string former = LXTextOf(*held, XProperty::Label);

        const ThreadWatch watch;
        const XNotification sent = server.Edit(LXLabelEdit("by another process"));
        EXPECT_EQ(sent.clients, 1);
        EXPECT_EQ(sent.result, S_OK);
        EXPECT_EQ(watch.OnOtherThreads(), 1);
        EXPECT_NE(former, "by another process");
        EXPECT_EQ(LXTextOf(*held, XProperty::Label), "by another process");
        EXPECT_EQ(client.Terminate(), S_OK);
        EXPECT_TRUE(server.Status().clients.empty());
        EXPECT_EQ(server.Edit(LXLabelEdit("after the end")).clients, 0);
        EXPECT_EQ(watch.OnOtherThreads(), 1);
    }
    EXPECT_TRUE(LXWaitFor([&] { return server.Status().live.references <= before.references; }))
        << server.Status().live.references << " references are left, " << before.references << " before";
}

TEST(OutOfProcess, TheServerIsKilledWhileTheClientReads) {
    const Server server(Server::Use::ByOne);
    CacheClient client(server.Control());
    const auto attribute = client.Attribute(DerivedType, EditedAttribute);
    ASSERT_EQ(ReadLabel(*attribute), S_OK);
    Readers readers(attribute);
    ASSERT_TRUE(readers.GoOn());

    // One call is waiting in the server when that dies.
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
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 10s);
    EXPECT_TRUE(LXSaysGone(interrupted)) << LXResultName(interrupted);

    EXPECT_TRUE(readers.GoOn());
    readers.Stop();
    EXPECT_EQ(readers.Failed(), S_OK);
    XLXComPtr<ILXFormat> format;
    const HRESULT refused = attribute->GetFormat(8, format.Put());
    EXPECT_TRUE(LXSaysGone(refused)) << LXResultName(refused);
    EXPECT_FALSE(format);
    EXPECT_EQ(TerminateInTime(client), S_OK);
}

TEST(OutOfProcess, AKilledClientIsForgottenAndTheOthersServed) {
    const Server server;
    CacheClient client(server.Control());
    const ClientProcess other;
    ASSERT_TRUE(other.IsReady());
    ASSERT_TRUE(server.HasClient(other.Program().Id()));
    EXPECT_EQ(server.Edit(LXLabelEdit("to both")).clients, 2);

    other.Program().Kill();
    ASSERT_TRUE(other.Program().Wait(10s));
    server.Edit(LXLabelEdit("to one and a dead one"));
    EXPECT_EQ(client.Label(), "to one and a dead one");
    EXPECT_TRUE(LXWaitFor([&] { return !server.HasClient(other.Program().Id()); }));
    const XNotification sent = server.Edit(LXLabelEdit("to one"));
    EXPECT_EQ(sent.clients, 1);
    EXPECT_EQ(sent.result, S_OK);
    EXPECT_EQ(client.Label(), "to one");
    EXPECT_EQ(client.Terminate(), S_OK);
}

// The one library has them all, and registering a type library must not take any of them over.
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

// The cache's own interfaces have proxies too: a program may hand the cache to a thread of another apartment.
TEST(Proxies, OfTheCacheItselfWork) {
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

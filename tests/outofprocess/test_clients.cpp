// SPDX-License-Identifier: MIT
//
// Caches for a server in another process: notifications, and the end of either side.
#include "outofprocess.h"

#include "LXError32.h"

#include <atomic>

namespace {
/// Whether the cache was notified of a change on another thread.
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

/// Threads that continuously read a cached value and record every result other than S_OK.
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

/// Terminates the cache. Returns the result, or nullopt if it took too long.
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
    const ClientProcess other(OLESTR("hold"));
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

TEST(OutOfProcess, AKilledClientIsForgottenWithoutAnEdit) {
    const Server server;
    {
        const ClientProcess client(OLESTR("hold"));
        ASSERT_TRUE(client.IsReady());
        ASSERT_EQ(server.Status().clients.size(), 1u);
    }
    EXPECT_TRUE(LXWaitFor([&] { return server.Status().clients.empty(); }));
}

TEST(OutOfProcess, ASlowClientHoldsUpNobody) {
    constexpr int Edits = 12;
    constexpr auto Slowness = 700ms;
    const Server server;
    std::vector<std::unique_ptr<ClientProcess>> clients;
    for (const auto* const time : {OLESTR("0"), OLESTR("0"), OLESTR("0"), OLESTR("700")}) {
        clients.push_back(std::make_unique<ClientProcess>(std::wstring(OLESTR("follow last 12 ")) + time));
    }
    for (const auto& client : clients) {
        ASSERT_TRUE(client->IsReady());
    }
    ASSERT_EQ(server.Status().clients.size(), clients.size());

    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i < Edits; ++i) {
        server.Edit(LXLabelEdit("edit " + std::to_string(i)));
    }
    server.Edit(LXLabelEdit("last"));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(clients[i]->Program().Wait(60s), 0u);
    }
    const auto whatTheOthersTook = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(clients[3]->Program().Wait(60s), 0u);
    const auto whatTheSlowOneTook = std::chrono::steady_clock::now() - start;
    EXPECT_GE(whatTheSlowOneTook, Edits * Slowness * 9 / 10); // it received every notification
    EXPECT_LT(whatTheOthersTook, Edits * Slowness / 2);
    EXPECT_TRUE(LXWaitFor([&] { return server.Status().clients.empty(); }));
}

TEST(OutOfProcess, CacheAndServerAgreeAfterRandomEdits) {
    const Server server;
    CacheClient client(server.Control());
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    ASSERT_EQ(server.Control().GetServices(factory.Put(), query.Put(), update.Put()), S_OK);
    std::string former = LXSnapshot(*factory);
    for (ULONG seed = 1; seed <= 4; ++seed) {
        EXPECT_EQ(LXSnapshot(*client.Factory()), former);
        ASSERT_EQ(server.Control().RandomEdits(seed, 50), S_OK);
        const std::string now = LXSnapshot(*factory);
        EXPECT_NE(now, former);
        former = now;
    }
    EXPECT_EQ(LXSnapshot(*client.Factory()), former);
    EXPECT_EQ(client.Terminate(), S_OK);
}

TEST(OutOfProcess, AServerThatStopsTellsItsClientsAndEnds) {
    Server server;
    CacheClient client(server.Control());
    const auto attribute = client.Attribute(DerivedType, EditedAttribute);
    ASSERT_EQ(ReadLabel(*attribute), S_OK);
    EXPECT_EQ(server.Control().Stop(), S_OK);
    EXPECT_EQ(server.Program().Wait(20s), 0u);
    EXPECT_EQ(ReadLabel(*attribute), S_OK);
    EXPECT_EQ(TerminateInTime(client), S_OK);
}

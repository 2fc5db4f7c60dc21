// SPDX-License-Identifier: MIT
//
// Counting, delaying, failing and pausing calls, hooks, and many threads at once.
#include "servertest.h"

#include <thread>

namespace {
class ServerMonitor : public testing::Test {
protected:
    std::string Label() { return LXTextOf(LXAttributeOf(*server, "Pump", "Power"), XProperty::Label); }

    std::shared_ptr<XSampleServer> server = XSampleServer::Create(LXSmallModel());
};
} // namespace

TEST_F(ServerMonitor, OnlyCallsFromOutsideAreCounted) {
    const auto pump = LXTypeOf(*server, "Pump");
    XLXSafeArray array;
    EXPECT_EQ(pump->GetTypeComponentData(15, array.Put()), S_OK);
    EXPECT_EQ(pump->GetTypeComponentData(15, nullptr), E_POINTER);
    EXPECT_TRUE(pump.As<ILXConfigObject>());
    const XCallCounts counts = server->Calls().Counts();
    EXPECT_EQ(counts.Text(), "1 ILXConfigFactory::GetType, 2 ILXType::GetTypeComponentData");
    EXPECT_EQ(counts.Total(), 3u);
    EXPECT_EQ(server->ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(15, array.Put()), S_OK);
    EXPECT_EQ(server->Calls().Counts().Since(counts).Text(), "1 ILXConfigFactoryEx::GetTypeArrayEx");
    server->Calls().Reset();
    EXPECT_EQ(server->Calls().Total(), 0u);
}

TEST_F(ServerMonitor, CallsFailOnDemand) {
    const auto factory = server->ConfigFactory();
    const XLXComBSTR name(OLESTR("Pump"));
    XLXComPtr<ILXType> type;
    server->Calls().FailCall("ILXConfigFactory::GetType", E_FAIL, 2);
    server->Calls().FailCall("ILXConfigFactory::GetType", S_OK, 3);
    for (const HRESULT expected : {S_OK, E_FAIL, S_OK, S_OK}) {
        EXPECT_EQ(factory->GetType(name.Get(), nullptr, type.Put()), expected);
    }
    EXPECT_TRUE(type);
    server->Calls().FailCall("ILXConfigFactory::GetType", S_OK);
    EXPECT_EQ(factory->GetType(name.Get(), nullptr, type.Put()), S_OK);
    EXPECT_FALSE(type); // a success without a result
    server->Calls().FailAlways("", E_ABORT);
    BSTR version = nullptr;
    EXPECT_EQ(factory->GetVersion(&version), E_ABORT);
    EXPECT_EQ(factory->GetVersion(&version), E_ABORT);
    server->Calls().StopFailing();
    EXPECT_EQ(factory->GetVersion(&version), S_OK);
    SysFreeString(version);
}

TEST_F(ServerMonitor, CallsTakeTheAskedTime) {
    const auto factory = server->ConfigFactory();
    server->Calls().SetDelay(std::chrono::milliseconds(20));
    const auto begin = std::chrono::steady_clock::now();
    BSTR version = nullptr;
    EXPECT_EQ(factory->GetVersion(&version), S_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
    SysFreeString(version);
}

TEST_F(ServerMonitor, AGateStopsACallBeforeOrAfterItsWork) {
    const auto power = LXAttributeOf(*server, "Pump", "Power");
    for (const auto& [point, expected] :
         {std::pair(XCallPoint::Arrival, "new"), std::pair(XCallPoint::Answer, "old")}) {
        server->Edit().SetAttributeProperty("Pump", "Power", XProperty::Label, "old");
        std::string seen;
        XCallGate gate = server->Calls().PauseAt("ILXAttribute::GetProperty", point);
        std::thread reader([&] { seen = LXTextOf(power, XProperty::Label); });
        gate.WaitUntilArrived();
        server->Edit().SetAttributeProperty("Pump", "Power", XProperty::Label, "new");
        EXPECT_EQ(Label(), "new"); // later calls succeed
        gate.Open();
        reader.join();
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(gate.Arrived(), 1);
    }
    EXPECT_TRUE(server->Calls().Problems().empty());
}

TEST_F(ServerMonitor, AGateThatIsForgottenIsReported) {
    XCallGate never = server->Calls().PauseAt("ILXType::GetPage");
    EXPECT_THROW(never.WaitUntilArrived(1, std::chrono::milliseconds(10)), std::runtime_error);
    server->Calls().SetGateLimit(std::chrono::milliseconds(10));
    const XCallGate forgotten = server->Calls().PauseAt("ILXAttribute::GetProperty");
    EXPECT_EQ(Label(), "");
    EXPECT_EQ(server->Calls().Problems().size(), 1u);
}

TEST_F(ServerMonitor, AHookMayNotifyFromInsideACall) {
    XRecordingClient client;
    const LONG id = LXRegister(*server, client);
    std::vector<std::string> seen;
    server->Calls().SetHook([&](const XServerCall& call) {
        seen.emplace_back(std::string(call.name) + (call.point == XCallPoint::Arrival ? " " : "! ") +
                          std::to_string(call.number));
        server->Edit().SetAttributeProperty("Pump", "Power", XProperty::Label, std::to_string(seen.size()));
        Label(); // a call to the server from inside the hook does not call the hook again
    });
    XLXComPtr<ILXPage> page;
    const auto pump = LXTypeOf(*server, "Pump");
    seen.clear();
    EXPECT_EQ(pump->GetPage(1, page.Put()), S_OK);
    server->Calls().SetHook({});
    EXPECT_EQ(seen, (std::vector<std::string>{"ILXType::GetPage 1", "ILXType::GetPage! 1"}));
    EXPECT_EQ(client.Take().size(), 4u); // two for each of the two calls
    EXPECT_EQ(server->DataUpdate()->UnregisterCallback(id), S_OK);
}

TEST_F(ServerMonitor, ReadersEditorsAndClientsRunAtOnce) {
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::atomic<int> registrations{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                XLXSafeArray array;
                EXPECT_EQ(server->ConfigFactory().As<ILXConfigFactoryEx>()->GetTypeArrayEx(15, array.Put()), S_OK);
                EXPECT_EQ(LXTextOf(LXAttributeOf(*server, "CentrifugalPump", "Weight"), XProperty::Unit), "kg");
                EXPECT_TRUE(server->StoredObject("P1"));
                ++reads;
            }
        });
    }
    threads.emplace_back([&] {
        while (!stop) {
            XRecordingClient client;
            const LONG id = LXRegister(*server, client);
            EXPECT_EQ(server->DataUpdate()->UnregisterCallback(id), S_OK);
            while (client.references != 0) {
                std::this_thread::yield(); // a notification is in flight
            }
            ++registrations;
        }
    });
    for (int i = 0; i < 100 || reads < 30 || registrations < 30; ++i) // until all kinds of threads have overlapped
    {
        server->Edit().AddAttribute("Pump", "Extra", 1, i % 2 == 0 ? XNotify::Here : XNotify::OnThread);
        server->Edit().SetAttributeProperty("Pump", "Extra", XProperty::Label, std::to_string(i));
        server->Edit().RemoveAttribute("Pump", "Extra", XNotify::OnThread);
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    server->FlushNotifications();
    EXPECT_EQ(server->LiveObjects().objects, 0);
    EXPECT_EQ(server->LiveObjects().references, 0);
    EXPECT_GE(server->Calls().Of("ILXConfigFactoryEx::GetTypeArrayEx"), 30u);
}

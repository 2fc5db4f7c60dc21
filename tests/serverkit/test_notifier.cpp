// SPDX-License-Identifier: MIT
//
// Clients that answer, hang, or are gone.
#include "kitfixture.h"

#include <future>

namespace {
const lx::Change UnitChanged{"properties", OLESTR("Pump"), 4, 512};

/// A client that hangs until the test opens a gate.
HRESULT Pass(const std::shared_future<void>& opened) {
    opened.wait_for(60s);
    return S_OK;
}

bool IdsRise(const std::vector<Listener::Notification>& all) {
    return std::adjacent_find(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.id >= b.id; }) ==
           all.end();
}
} // namespace

TEST(Notifier, AHangingClientDelaysNoOther) {
    constexpr std::size_t count = lx::ClientQueue::MostWaiting + 50;
    std::promise<void> gate;
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto hangs = lx::Make<Listener>([opened = gate.get_future().share()] { return Pass(opened); });
    const auto healthy = lx::Make<Listener>();
    const LONG hanging = Register(*connection, *hangs);
    const LONG another = Register(*connection, *healthy);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < count; ++i) {
        server->Notify(UnitChanged);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, lx::Notifier::AnswerWait + 10s)
        << "the server waits only once for the hanging client";
    EXPECT_TRUE(WaitFor([&] { return healthy->All().size() == count; }));
    EXPECT_TRUE(IdsRise(healthy->All()));
    EXPECT_EQ(hangs->All().size(), 1u);
    gate.set_value();
    // The notification that hung, one that replaced all queued ones, and those sent after that.
    constexpr std::size_t after = count - 1 - lx::ClientQueue::MostWaiting - 1;
    EXPECT_TRUE(WaitFor([&] { return hangs->All().size() == 2 + after; }));
    EXPECT_TRUE(IdsRise(hangs->All()));
    EXPECT_EQ(hangs->DataIds()[1], "objects//0/1");
    EXPECT_EQ(hangs->All().back().id, healthy->All().back().id);
    EXPECT_EQ(connection->UnregisterCallback(hanging), S_OK);
    EXPECT_EQ(connection->UnregisterCallback(another), S_OK);
    EXPECT_EQ(connection->UnregisterCallback(another), E_INVALIDARG);
}

TEST(Notifier, LostClientsAreDroppedAndReleased) {
    std::promise<void> gate;
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto gone = lx::Make<Listener>([] { return static_cast<HRESULT>(0x80010108); }); // RPC_E_DISCONNECTED
    const auto hangs = lx::Make<Listener>([opened = gate.get_future().share()] { return Pass(opened); });
    Register(*connection, *gone);
    server->Notify(UnitChanged);
    server->Clients().CheckClients();
    EXPECT_EQ(server->Clients().Clients(), 0u);
    EXPECT_TRUE(WaitFor([&] { return gone->AddRef() + gone->Release() == 3; })) << "its callback was released";

    Register(*connection, *hangs);
    server->Notify(UnitChanged); // waits for the whole Notifier::AnswerWait
    server->Clients().CheckClients();
    EXPECT_EQ(server->Clients().Clients(), 1u) << "it may only be slow";
    server->Clients().SetHangLimit(1ms);
    server->Notify(UnitChanged);
    EXPECT_EQ(server->Clients().Clients(), 0u);
    gate.set_value();
    EXPECT_TRUE(WaitFor([&] { return hangs->AddRef() + hangs->Release() == 3; }));
    EXPECT_EQ(hangs->All().size(), 1u);
}

TEST(Notifier, ANotificationFromAClientReachesTheOthers) {
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto sender = lx::Make<Listener>();
    const auto other = lx::Make<Listener>();
    const LONG id = Register(*connection, *sender);
    Register(*connection, *other);
    const lxcfc::Bstr dataId(OLESTR("objects/A/0/2")), dataType(lx::CfcSpecific);
    EXPECT_EQ(connection->DataObjectChanged(id, dataId.Get(), dataType.Get(), 0x100, 0, nullptr), S_OK);
    EXPECT_EQ(other->DataIds(), std::vector<std::string>{"objects/A/0/2"});
    EXPECT_TRUE(sender->All().empty());
    server->Clients().Shutdown();
}

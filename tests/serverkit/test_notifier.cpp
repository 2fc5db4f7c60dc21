// SPDX-License-Identifier: MIT
//
// Clients that work, hang, or are gone.
#include "kitfixture.h"

namespace {
const lx::Change UnitChanged{"properties", OLESTR("Pump"), 4, 512};

/// Blocks a callback until the test opens it.
class Gate {
public:
    void Open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    HRESULT Pass() {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, 60s, [this] { return m_open; });
        return S_OK;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

bool Rise(const std::vector<Listener::Told>& all) {
    return std::adjacent_find(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.id >= b.id; }) ==
           all.end();
}
} // namespace

TEST(Notifier, AClientThatHangsHoldsUpNobody) {
    constexpr std::size_t count = lx::ClientQueue::MostWaiting + 50;
    Gate gate;
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto hangs = lx::Make<Listener>([&gate] { return gate.Pass(); });
    const auto well = lx::Make<Listener>();
    const LONG hanging = Register(*connection, *hangs);
    const LONG another = Register(*connection, *well);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < count; ++i) {
        server->Notify(UnitChanged);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, lx::Notifier::AnswerWait + 10s) << "it is waited for once";
    EXPECT_TRUE(WaitFor([&] { return well->All().size() == count; }));
    EXPECT_TRUE(Rise(well->All()));
    EXPECT_EQ(hangs->All().size(), 1u);
    gate.Open();
    // The notification that hung, one that replaced all queued ones, and those sent after that.
    constexpr std::size_t after = count - 1 - lx::ClientQueue::MostWaiting - 1;
    EXPECT_TRUE(WaitFor([&] { return hangs->All().size() == 2 + after; }));
    EXPECT_TRUE(Rise(hangs->All()));
    EXPECT_EQ(hangs->DataIds()[1], "objects//0/1");
    EXPECT_EQ(hangs->All().back().id, well->All().back().id);
    EXPECT_EQ(connection->UnregisterCallback(hanging), S_OK);
    EXPECT_EQ(connection->UnregisterCallback(another), S_OK);
    EXPECT_EQ(connection->UnregisterCallback(another), E_INVALIDARG);
}

TEST(Notifier, LostClientsAreDroppedAndReleased) {
    Gate gate;
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto gone = lx::Make<Listener>([] { return static_cast<HRESULT>(0x80010108); }); // RPC_E_DISCONNECTED
    const auto hangs = lx::Make<Listener>([&gate] { return gate.Pass(); });
    Register(*connection, *gone);
    server->Notify(UnitChanged);
    server->Clients().CheckClients();
    EXPECT_EQ(server->Clients().Clients(), 0u);
    EXPECT_TRUE(WaitFor([&] { return gone->AddRef() + gone->Release() == 3; })) << "its callback was released";

    Register(*connection, *hangs);
    server->Notify(UnitChanged); // waits for the whole Notifier::AnswerWait
    server->Clients().CheckClients();
    EXPECT_EQ(server->Clients().Clients(), 1u) << "it may be slow only";
    server->Clients().SetHangLimit(1ms);
    server->Notify(UnitChanged);
    EXPECT_EQ(server->Clients().Clients(), 0u);
    gate.Open();
    EXPECT_TRUE(WaitFor([&] { return hangs->AddRef() + hangs->Release() == 3; }));
    EXPECT_EQ(hangs->All().size(), 1u);
}

TEST(Notifier, AClientTellsTheOthers) {
    const auto server = std::make_shared<lx::ModelServer>(lx::Model{});
    const auto connection = lx::Connect(server);
    const auto teller = lx::Make<Listener>();
    const auto other = lx::Make<Listener>();
    const LONG id = Register(*connection, *teller);
    Register(*connection, *other);
    EXPECT_EQ(connection->DataObjectChanged(id, Name(OLESTR("objects/A/0/2")), Name(lx::CfcSpecific.c_str()), 0x100, 0,
                                            nullptr),
              S_OK);
    EXPECT_EQ(other->DataIds(), std::vector<std::string>{"objects/A/0/2"});
    EXPECT_TRUE(teller->All().empty());
    server->Clients().Shutdown();
}

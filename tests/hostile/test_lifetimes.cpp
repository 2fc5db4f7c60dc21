// SPDX-License-Identifier: MIT
//
// Servers that call the cache from inside their methods, and clients that terminate and release objects at the wrong
// time and in the wrong order. What objects answer after the end is tested with all their methods
// (tests/surface/test_surface.cpp).
#include "XModuleCount.h"
#include "clientlife.h"
#include "inside.h"
#include "objectworld.h"

#include <random>
#include <set>

namespace {
using Hook = std::function<void(XClientLife&, XSampleServer&, const XServerCall&)>;

/// A client's session with a hook in every call to the server. Its failures come with error information, and it leaves
/// nothing behind.
XLifeSteps Live(const Hook& hook) {
    const auto server = XSampleServer::Create(LXLifeModel());
    XClientLife life(*server, {}, 0);
    server->Calls().SetHook([&](const XServerCall& call) { hook(life, *server, call); });
    const XLifeSteps steps = life.Run();
    server->Calls().SetHook({});
    for (const auto& [name, step] : steps) {
        EXPECT_TRUE(SUCCEEDED(step.result) || step.information) << name << " 0x" << std::hex << step.result;
    }
    EXPECT_EQ(server->Clients().size(), 0u);
    EXPECT_EQ(server->LiveObjects().objects, 0);
    return steps;
}

TEST(Lifetimes, AServerMayCallTheCacheFromInsideEachOfItsMethods) {
    const XLifeSteps undisturbed = Live([](auto&&...) {});
    // Steps whose format the inner client deletes.
    const std::set<std::string> free{"Pump.Head.DeleteFormat", "then Pump.Head.DeleteFormat"};
    std::set<std::string> methods;
    const XLifeSteps steps = Live([&](XClientLife& life, XSampleServer& server, const XServerCall& call) {
        methods.emplace(call.name);
        XClientLife(server, life.Cache()).AskForTypesAndRelations();
    });
    EXPECT_EQ(steps.size(), undisturbed.size());
    LXExpectSteps(steps, undisturbed, [&](const std::string& name, auto&&) { return free.contains(name); });
    EXPECT_GT(methods.size(), 15u) << "methods that the server called back from";
}

TEST(Lifetimes, TheCacheMayEndInsideAnyCallToTheServer) {
    unsigned points = 0;
    for (unsigned n = 1; points + 1 >= n; ++n) {
        SCOPED_TRACE("at point " + std::to_string(n));
        points = 0;
        Live([&](XClientLife& life, auto&&...) {
            if (++points == n) { EXPECT_EQ(life.Cache().As<IDPFObject>()->Terminate(), S_OK); }
        });
    }
    EXPECT_GT(points, 50u);
}

class EndedInside : public CacheTest {};

TEST_F(EndedInside, ANotification) {
    ASSERT_EQ(Start(), S_OK);
    const auto type = Type("Pump");
    m_server->AcceptForwardedNotifications(true);
    {
        const Inside ended(
            Calls(), "ILXCallbackUpdate::DataObjectChanged", [&] { Terminate(); }, XCallPoint::Arrival);
        m_server->SendNotification("objects/x/0/1", "cfc"); // forwarded to the server's config factory
    }
    EXPECT_EQ(LXRead(type.Get(), 0), OLESTR("Pump"));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(LXRead(Attribute("Pump", "Name").Get(), XProperty::Label), OLESTR("Name of the item"));
}

TEST(Lifetimes, AnyOrderOfReleasesLeavesNothingAlive) {
    for (unsigned seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        // Without a registered callback, Terminate is not required.
        XObjectWorld world(seed % 2 == 0 ? XStage::Silent : XStage::Terminated);
        EXPECT_GT(world.Server().LiveObjects().objects, 0);
        auto all = world.GiveAway();
        std::shuffle(all.begin(), all.end(), std::mt19937(seed));
        while (!all.empty()) {
            all.pop_back();
        }
        EXPECT_EQ(world.Server().LiveObjects().objects, 0);
        EXPECT_EQ(world.Server().LiveObjects().references, 0);
    }
}
} // namespace

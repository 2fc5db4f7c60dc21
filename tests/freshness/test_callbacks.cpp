// SPDX-License-Identifier: MIT
//
// Servers that call back during a request, and server objects that call the cache when they are destroyed.
#include "hostileserver.h"
#include "inside.h"
#include "waiting.h"

namespace {
XServerModel AskingModel() {
    XServerModel model = LXTestModel();
    model.AddRelation("Item", "Document", "nodes").AddPCInfo("Tree");
    return model;
}

/// A request, which fails the test if its answer is wrong, and the server method that it calls.
struct Question {
    const char* method;
    std::function<void()> ask;
};

// The request that the server makes next on this thread, and the server method in which it makes the request.
thread_local std::function<void()> t_ask;
thread_local std::string_view t_inside;

class Asking : public CacheTest {
protected:
    Asking() : CacheTest(AskingModel()) {
        Calls().SetHook([](const XServerCall& call) {
            if (t_ask && call.name == t_inside && call.point == XCallPoint::Arrival) { std::exchange(t_ask, {})(); }
        });
    }

    void AskForTypes() { EXPECT_EQ(TypeNames(), (Names{"Document", "Equipment", "Item", "Pump"})); }
    XLXComPtr<ILXParentChild> AskForRelation() {
        return LXElements(LXGet(Factory(), &ILXConfigFactory::GetParentChildEnum, "Item", nullptr)).at(0);
    }
    static Question AskForAttribute(const XLXComPtr<ILXType>& type, const char* name) {
        return {"ILXType::GetTypeComponentData", [=] { LXGet(type, &ILXType::GetAttribute, name); }};
    }

    /// Waits for the other thread.
    void Meet() {
        const int wanted = m_arrived++ / 2 * 2 + 2;
        EXPECT_TRUE(WaitFor([&] { return m_arrived.load() >= wanted; }, std::chrono::seconds(5)));
    }
    /// On a new thread: makes a request. Inside the server, waits for the other thread and makes the other's request.
    std::future<void> AskOnAThread(const Question& own, const Question& others) {
        return std::async(std::launch::async, [=, this] {
            t_inside = own.method;
            t_ask = [this, others] {
                Meet();
                others.ask();
            };
            own.ask();
            EXPECT_FALSE(t_ask) << own.method << " was not called";
        });
    }

private:
    std::atomic<int> m_arrived{0};
};

TEST_F(Asking, CrosswiseDoesNotDeadlock) {
    ASSERT_EQ(Start(0), S_OK); // without components
    const Question types{"ILXConfigFactoryEx::GetTypeArrayEx", [&] { AskForTypes(); }};
    const Question relations{"ILXConfigFactory::GetPCArray", [&] { EXPECT_TRUE(AskForRelation()); }};
    const Question pcInfos{"ILXParentChild::GetPCInfoEnum", [relation = AskForRelation()] {
                               EXPECT_EQ(LXList(XProperty::PCInfoBrowser, relation, &ILXParentChild::GetPCInfoEnum),
                                         Names{"Tree"});
                           }};
    const Question browserIds{"ILXConfigFactory::GetBrowserIdEnum", [&] { EXPECT_EQ(BrowserIds(), Names{"Tree"}); }};
    const Question item = AskForAttribute(Type("Item"), "Weight");
    const Question document = AskForAttribute(Type("Document"), "Title");
    for (const auto& [one, other] : {std::pair(pcInfos, types), {relations, browserIds}, {item, document}}) {
        SCOPED_TRACE(one.method);
        m_server->SendNotification("objects/x/0/1");
        const auto first = AskOnAThread(one, other);
        const auto second = AskOnAThread(other, one);
        EXPECT_EQ(first.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        EXPECT_EQ(second.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    }
}

TEST_F(Asking, ASecondCacheFromInsideACallOfTheFirst) {
    ASSERT_EQ(Start(0), S_OK);
    m_server->SendNotification("objects/x/0/1");
    t_inside = "ILXConfigFactoryEx::GetTypeArrayEx";
    t_ask = [this] {
        const XLXComPtr<ILXConfigFactoryCache> first = std::exchange(m_cache, {});
        EXPECT_EQ(Start(), S_OK);
        AskForTypes();
        Terminate();
        m_cache = first;
    };
    AskForTypes();
    EXPECT_FALSE(t_ask);
}

class LastRelease : public HostileTest {
protected:
    LastRelease() {
        ServeTypes([this] { return Types({Base, Derived}); });
        m_factory->namedTypes = [this](SAFEARRAY** out) {
            *out = Types({Derived}).Detach();
            return S_OK;
        };
    }
    void TearDown() override {
        m_asks = false;
        HostileTest::TearDown();
    }

    inline static const HostileType Base{OLESTR("Base"), OLESTR(""), {OLESTR("OfBase")}};
    inline static const HostileType Derived{OLESTR("Derived"), OLESTR("Base"), {OLESTR("OfDerived")}};

    /// Types whose server objects and base-type property make a request when they are destroyed.
    XLXSafeArray Types(const std::vector<HostileType>& types) {
        return HostileTypeArray(types, [this] { return new WorkAtRelease([this] { AskFromAnotherThread(); }); });
    }
    void AskFromAnotherThread() {
        if (!m_asks) { return; }
        ++m_asked;
        m_answers.push_back(std::async(std::launch::async,
                                       [this] { LXGet(Named(OLESTR("Derived")), &ILXType::GetAttribute, "OfBase"); }));
        EXPECT_EQ(m_answers.back().wait_for(std::chrono::seconds(3)), std::future_status::ready);
    }

    bool m_asks = false;
    int m_asked = 0;
    std::vector<std::future<void>> m_answers;
};

TEST_F(LastRelease, OfAServerObjectHappensWithNoLockHeld) {
    ASSERT_EQ(StartHostile(), S_OK);
    const auto type = Named(OLESTR("Derived"));
    m_asks = true;
    EXPECT_EQ(LoadByName("Derived"), S_OK);
    EXPECT_GE(m_asked, 2); // the old server object, and a base type object that the link replaces
    EXPECT_EQ(Named(OLESTR("Derived")), type);
}
} // namespace

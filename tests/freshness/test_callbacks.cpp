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
    using Texts = std::vector<std::string>;

    Asking() : CacheTest(AskingModel()) {
        Calls().SetHook([](const XServerCall& call) {
            if (t_ask && call.name == t_inside && call.point == XCallPoint::Arrival) { std::exchange(t_ask, {})(); }
        });
    }
    ~Asking() override { Calls().SetHook({}); }

    void AskForTypes() {
        EXPECT_EQ(LXList<ILXType>(XProperty::TypeName, Factory(), &ILXConfigFactory::GetTypeEnum, nullptr),
                  (Texts{"Document", "Equipment", "Item", "Pump"}));
    }
    XLXComPtr<ILXParentChild> AskForRelation() {
        const XLXComBSTR item(OLESTR("Item"));
        return LXElements(LXGet(Factory(), &ILXConfigFactory::GetParentChildEnum, item.Get(), nullptr)).at(0);
    }
    static Question AskForAttribute(const XLXComPtr<ILXType>& type, const OLECHAR* name) {
        return {"ILXType::GetTypeComponentData",
                [=] { LXGet(type, &ILXType::GetAttribute, XLXComBSTR(XLXText(name)).Get()); }};
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
    const Question pcInfos{
        "ILXParentChild::GetPCInfoEnum", [relation = AskForRelation()] {
            EXPECT_EQ(LXList<ILXPCInfo>(XProperty::PCInfoBrowser, relation, &ILXParentChild::GetPCInfoEnum),
                      Texts{"Tree"});
        }};
    const Question browserIds{
        "ILXConfigFactory::GetBrowserIdEnum", [&] {
            EXPECT_EQ(LXList<ILXBrowserId>(XProperty::BrowserIdName, Factory(), &ILXConfigFactory::GetBrowserIdEnum),
                      Texts{"Tree"});
        }};
    const Question item = AskForAttribute(Type("Item"), OLESTR("Weight"));
    const Question document = AskForAttribute(Type("Document"), OLESTR("Title"));
    for (const auto& [one, other] : {std::pair(pcInfos, types), {relations, browserIds}, {item, document}}) {
        SCOPED_TRACE(one.method);
        m_server->SendNotification("objects/x/0/1");
        const auto first = AskOnAThread(one, other);
        const auto second = AskOnAThread(other, one);
        EXPECT_EQ(first.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        EXPECT_EQ(second.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    }
    Terminate();
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
    Terminate();
}

class LastRelease : public HostileTest {
protected:
    LastRelease() {
        m_factory->types = [this](SAFEARRAY** out) { return Give({Base, Derived}, out); };
        m_factory->namedTypes = [this](SAFEARRAY** out) { return Give({Derived}, out); };
    }
    void TearDown() override {
        m_asks = false;
        Terminate();
    }

    inline static const HostileType Base{OLESTR("Base"), OLESTR(""), {OLESTR("OfBase")}};
    inline static const HostileType Derived{OLESTR("Derived"), OLESTR("Base"), {OLESTR("OfDerived")}};

    /// Types whose server objects and base-type property make a request when they are destroyed.
    HRESULT Give(const std::vector<HostileType>& types, SAFEARRAY** out) {
        const auto asking = [this] {
            return XLXComPtr<IUnknown>(new WorkAtRelease([this] { AskFromAnotherThread(); }));
        };
        *out = HostileTypeArray(types, asking).Detach();
        return S_OK;
    }
    void AskFromAnotherThread() {
        if (!m_asks) { return; }
        ++m_asked;
        m_answers.push_back(std::async(std::launch::async, [this] {
            LXGet(Named(OLESTR("Derived")), &ILXType::GetAttribute, XLXComBSTR(OLESTR("OfBase")).Get());
        }));
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
    const XLXComBSTR name(OLESTR("Derived"));
    BSTR names[] = {name.Get()};
    EXPECT_EQ(m_cache->LoadTypesByTypeNames(1, names, 1), S_OK);
    EXPECT_GE(m_asked, 2); // the old server object, and a base type object that the link replaces
    EXPECT_EQ(Named(OLESTR("Derived")), type);
}
} // namespace

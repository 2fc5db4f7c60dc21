// SPDX-License-Identifier: MIT
//
// How long the cache keeps negative answers, failed loads and the removal of specs.
#include "hostileserver.h"

#include <future>
#include <thread>

namespace {
XServerModel AnswerModel() {
    XServerModel model = LXTestModel();
    for (int i = 0; i < 4; ++i) {
        model.AddGlobalSpec("Spec" + std::to_string(i));
    }
    return model;
}

class Answers : public HostileTest {
protected:
    Answers() : HostileTest(AnswerModel()) {}

    void SetUp() override { ASSERT_EQ(Start(), S_OK); }

    HRESULT Ask(const std::string& name) { return LXResult(Factory(), &ILXConfigFactory::GetType, name, nullptr); }
    HRESULT RemoveById(const char* id) {
        return LXCall(*Factory(), &ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID, id);
    }
};

// ---- negative answers

TEST_F(Answers, AnUnknownNameIsAskedForAgainAfterAReload) {
    Terminate();
    // The bulk read returns the pump and its bases; all other types are loaded by name.
    m_factory->types = [this](SAFEARRAY** types) {
        return m_factory->GetTypeArrayByTypeNameEx(LXArgument("Pump"), 1, 15, types);
    };
    ASSERT_EQ(StartHostile(), S_OK);
    EXPECT_EQ(Ask("Hidden"), S_FALSE);
    EXPECT_EQ(Ask("Never"), S_FALSE);
    ExpectCalls(0, [&] { EXPECT_EQ(Ask("Hidden"), S_FALSE); });
    Edit().Change([](XServerModel& model) { model.AddType("Hidden", "Item").listed = false; }, "objects/Hidden/0/2");
    ExpectCalls(2, [&] { EXPECT_EQ(Ask("Hidden"), S_OK); });
    ExpectCalls(1, [&] { EXPECT_EQ(Ask("Never"), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(Ask("Never"), S_FALSE); });
}

TEST_F(Answers, TooManyUnknownNamesDisplaceTheOldest) {
    constexpr int Kept = 10000;
    for (int i = 0; i <= Kept; ++i) {
        ASSERT_EQ(Ask("Unknown" + std::to_string(i)), S_FALSE);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(Ask("Unknown" + std::to_string(Kept)), S_FALSE); });
    ExpectCalls(1, [&] { EXPECT_EQ(Ask("Unknown0"), S_FALSE); });
    EXPECT_EQ(Ask("Pump"), S_OK);
}

TEST_F(Answers, TooManyUnknownFormatsDisplaceTheOldest) {
    constexpr int First = 100;
    constexpr int Kept = 64;
    const auto head = Attribute("Pump", "Head");
    const auto known = LXGet(head, &ILXAttribute::GetFormat, 1);
    const auto ask = [&](int type) { return LXResult(head, &ILXAttribute::GetFormat, type); };
    for (int i = 0; i <= Kept; ++i) {
        EXPECT_EQ(ask(First + i), S_FALSE);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(ask(First + Kept), S_FALSE); });
    ExpectCalls(1, [&] { EXPECT_EQ(ask(First), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(LXGet(head, &ILXAttribute::GetFormat, 1), known); });
    Edit().AddAttributeFormat("Pump", "Head", First); // it and its older answers displace none of after it
    EXPECT_EQ(ask(First), S_OK);
    EXPECT_EQ(ask(First + 2 * Kept), S_FALSE);
    ExpectCalls(0, [&] { EXPECT_EQ(ask(First), S_OK); });
}

// ---- failed loads

// The server is asked once, and not again before the next notification.
TEST_F(Answers, FailedAttributeTypesCountAsNone) {
    const auto head = Attribute("Pump", "Head");
    const auto ask = [&] { LXResult(head, &ILXAttribute::GetAttributeTypeEnum); };
    for (const char* const method :
         {"ILXAttribute::GetAttributeTypeEnum", "ILXAttributeTypeEnum::RemNext", "ILXAttributeType::GetProperties"}) {
        SCOPED_TRACE(method);
        Calls().FailAlways(method, E_OUTOFMEMORY);
        m_server->SendNotification("objects/Pump/0/1024");
        const auto before = Calls().Of(method);
        ask();
        EXPECT_GT(Calls().Of(method), before);
        ExpectCalls(0, ask);
        Calls().StopFailing();
    }
}

// ---- the removal of specs

TEST_F(Answers, ASpecThatIsRemovedThroughAnObjectFromBeforeAReload) {
    const auto former = AllSpecs();
    m_server->SendNotification("objects/x/0/256");
    EXPECT_EQ(AllSpecs().size(), 4u);
    EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(former[1].Get()), S_OK);
    EXPECT_EQ(SpecIds(), (Names{"Spec0", "Spec2", "Spec3"}));
}

TEST_F(Answers, ASpecThatIsRemovedByItsIdWhileItsValuesAreUnread) {
    AllSpecs();
    Calls().SetHook([&](const XServerCall& call) { // the server object of a removed spec answers no more calls
        if (call.name == "ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID" && call.point == XCallPoint::Answer) {
            Calls().FailAlways("ILXGlobalAttributeFormatSpec::GetProperties", E_ACCESSDENIED);
        }
    });
    EXPECT_EQ(RemoveById("Spec2"), S_OK);
    Calls().SetHook({});
    Calls().StopFailing();
    EXPECT_EQ(SpecIds(), (Names{"Spec0", "Spec1", "Spec3"}));
}

TEST_F(Answers, ASpecThatIsRemovedDuringALoadOnAnotherThread) {
    const auto former = AllSpecs();
    EXPECT_EQ(LXRead(former[2].Get(), 0), OLESTR("Spec2"));
    for (const bool byId : {true, false}) {
        m_server->SendNotification("objects/x/0/256");
        auto gate = Calls().PauseAt("ILXGlobalAttributeFormatSpecEnum::RemNext", XCallPoint::Answer);
        auto fill = std::async(std::launch::async, [&] { AllSpecs(); });
        gate.WaitUntilArrived();
        EXPECT_EQ(byId ? RemoveById("Spec1") : Factory()->RemoveGlobalAttributeFormatSpec(former[2].Get()), S_OK);
        gate.Open();
        fill.wait();
        EXPECT_EQ(SpecIds(), byId ? (Names{"Spec0", "Spec2", "Spec3"}) : (Names{"Spec0", "Spec3"}));
    }
}

// ---- concurrent queries while a notification overtakes every answer of the server

struct XFlood {
    const char* method;
    const char* dataId;
    std::function<void()> ask;
};

class Flooded : public CacheTest {
protected:
    static constexpr int Readers = 6;
    static constexpr int Questions = 8; // of each reader, one after the other

    /// The number of queries that took more than three loads: the one in progress, the next one, and one more if the
    /// thread was preempted before it queued. (A longer preemption is counted as well, but is rare.)
    int SlowQuestions(const XFlood& flood) {
        std::atomic<int> asking{0};
        std::atomic<int> loads{0};
        m_server->SendNotification(flood.dataId);
        Calls().SetHook([&](const XServerCall& call) {
            if (call.name != flood.method || call.point != XCallPoint::Answer) { return; }
            ++loads;
            m_server->SendNotification(flood.dataId);
            while (asking.load() < Readers) {
                std::this_thread::yield();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // by then they all have queued
        });
        std::vector<std::future<int>> readers;
        for (int i = 0; i < Readers; ++i) {
            readers.push_back(std::async(std::launch::async, [&] {
                ++asking;
                int slow = 0;
                for (int question = 0; question < Questions; ++question) {
                    const int before = loads.load();
                    flood.ask();
                    slow += loads.load() - before > 3 ? 1 : 0;
                }
                return slow;
            }));
        }
        int slow = 0;
        for (std::future<int>& reader : readers) {
            slow += reader.get();
        }
        Calls().SetHook({});
        return slow;
    }
};

TEST_F(Flooded, NoThreadWaitsForMoreThanTwoLoads) {
    ASSERT_EQ(Start(4), S_OK);
    const auto item = Type("Item");
    const auto askForPage = [&] { LXGet(item, &ILXType::GetPage, 1); };
    const auto askForRelations = [&] {
        EXPECT_EQ(LXResult(Factory(), &ILXConfigFactory::GetParentChildEnum, "Item", nullptr), S_FALSE);
    };
    for (const XFlood& flood : {XFlood{"ILXConfigFactoryEx::GetTypeArrayEx", "objects/x/0/2", [&] { Type("Item"); }},
                                XFlood{"ILXType::GetTypeComponentData", "objects/x/0/32", askForPage},
                                XFlood{"ILXConfigFactory::GetPCArray", "pc/x/0/4", askForRelations}}) {
        EXPECT_LE(SlowQuestions(flood), Readers * Questions / 12) << flood.method;
    }
}
} // namespace

// SPDX-License-Identifier: MIT
//
// A cache that is initialised and terminated several times, with the same server or another one: late answers and the
// registration of one connection must not affect the next. Also initialisations that fail or load no relations.
#include "hostileserver.h"
#include "inside.h"

#include <atomic>
#include <chrono>
#include <future>

namespace {
/// The test model plus a type, a browser id, a spec and a relation that are named after the server.
XServerModel ModelOf(const XText& server) {
    XServerModel model = LXTestModel();
    model.AddType(server);
    (*model.FindType(OLESTR("Pump")))->properties.Set(XProperty::TypeLabel, server);
    model.AddBrowserId(server);
    model.AddGlobalSpec(server).AddFormat(1);
    model.AddRelation("Item", server, "nodes");
    return model;
}

class Lives : public HostileTest {
protected:
    Lives() : HostileTest(ModelOf("First")) {}

    static bool Ends(const auto& work) { return work.wait_for(std::chrono::seconds(10)) == std::future_status::ready; }
    /// Exchanges the fixture's server for the other one.
    void ChangeServer() { m_server.swap(m_second); }

    Names Children() {
        return LXList(XProperty::ChildName, Factory(), &ILXConfigFactory::GetParentChildEnum, "Item", nullptr);
    }
    /// Returns whether the type "Late" was found.
    bool AskForEverything() {
        bool isFound = false;
        LoadByName("Pump");
        for (const char* const name : {"Late", "Item", "Document"}) { // the second stale value may cause a read of all
            const auto type = LXFind(Factory(), &ILXConfigFactory::GetType, name, nullptr);
            if (type) { LXRead(type.Get(), XProperty::TypeLabel); }
            if (*name == 'L') { isFound = static_cast<bool>(type); }
        }
        TypeNames();
        BrowserIds();
        SpecIds();
        Children();
        return isFound;
    }
    void ExpectAnswersOfTheSecond() {
        EXPECT_EQ(TypeNames(), (Names{"Document", "Equipment", "Item", "Pump", "Second"}));
        EXPECT_EQ(BrowserIds(), (Names{"Second", "Tree"}));
        EXPECT_EQ(SpecIds(), Names{"Second"});
        EXPECT_EQ(Children(), Names{"Second"});
        EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeLabel), OLESTR("Second"));
    }
    std::string PumpLabel() { return LXNarrow(LXRead(Type("Pump").Get(), XProperty::TypeLabel)); }

    std::shared_ptr<XSampleServer> m_second = XSampleServer::Create(ModelOf("Second"));
};

/// An answer that arrives after the end of its connection.
struct Late {
    const char* method;
    const char* stale = nullptr;    ///< the notification that makes the query ask the server, if one is needed
    bool beforeTheNextStart = true; ///< otherwise after it
    const char* refill = "never";
};

void PrintTo(const Late& late, std::ostream* os) { *os << late.method; }

class LateAnswers : public Lives, public testing::WithParamInterface<Late> {
protected:
    LateAnswers() { SetRefill(GetParam().refill); }
};

TEST_P(LateAnswers, AreNotCached) {
    const LONG before = m_server->LiveObjects().objects;
    ASSERT_EQ(Start(), S_OK);
    Edit().AddType("Late", "", XNotify::No); // found by name
    if (GetParam().stale != nullptr) { m_server->SendNotification(GetParam().stale); }
    auto gate = Calls().PauseAt(GetParam().method, XCallPoint::Answer);
    auto reader = std::async(std::launch::async, [&] { return AskForEverything(); });
    gate.WaitUntilArrived();
    Terminate();
    const auto former = m_server;
    const auto deliver = [&] {
        gate.Open();
        ASSERT_TRUE(Ends(reader));
        EXPECT_EQ(reader.get(), GetParam().beforeTheNextStart || GetParam().stale != nullptr);
        EXPECT_EQ(former->LiveObjects().objects, before);
    };
    if (GetParam().beforeTheNextStart) { deliver(); }
    ChangeServer();
    ASSERT_EQ(Start(), S_OK);
    const auto held = Type("Pump");
    if (!GetParam().beforeTheNextStart) {
        ExpectAnswersOfTheSecond();
        deliver();
    }
    ExpectAnswersOfTheSecond();
    EXPECT_EQ(LXRead(held.Get(), XProperty::TypeLabel), OLESTR("Second"));
    Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "new");
    EXPECT_EQ(PumpLabel(), "new");
}

constexpr const char* AllTypes = "ILXConfigFactoryEx::GetTypeArrayEx";
constexpr const char* NamedTypes = "ILXConfigFactoryEx::GetTypeArrayByTypeNameArrayEx";
INSTANTIATE_TEST_SUITE_P(Of, LateAnswers,
                         testing::Values(Late{AllTypes, "objects/x/0/1"},
                                         Late{"ILXConfigFactoryEx::GetTypeArrayByTypeNameEx"},
                                         Late{"ILXConfigFactory::GetBrowserIdEnum"},
                                         Late{"ILXConfigFactory::GetAllGlobalAttributeFormatSpecs"},
                                         Late{NamedTypes, nullptr, false},
                                         Late{AllTypes, "properties/x/0/1", false, "always"}));

TEST_F(Lives, AQueryFromInsideTerminateCachesNothing) {
    bool isEnding = false;
    bool asked = false;
    const auto ask = [&] {
        if (isEnding && !std::exchange(asked, true)) { AskForEverything(); }
    };
    ServeTypes([&] {
        return HostileTypeArray({{OLESTR("First"), OLESTR(""), {}}}, [&] { return new WorkAtRelease(ask); });
    });
    const LONG before = m_server->LiveObjects().objects;
    ASSERT_EQ(StartHostile(), S_OK);
    EXPECT_EQ(SpecIds(), Names{"First"});
    isEnding = true;
    Terminate();
    ASSERT_TRUE(asked);
    EXPECT_EQ(m_server->LiveObjects().objects, before);

    ChangeServer();
    ASSERT_EQ(Start(), S_OK);
    ExpectAnswersOfTheSecond();
}

TEST_F(Lives, ATerminationDuringAnInitialisationLeavesNoRegistration) {
    bool ended = false;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.point == XCallPoint::Answer && call.name == "ILXDataUpdate::RegisterCallback" && !ended) {
            EXPECT_TRUE(Ends(std::async(std::launch::async, [&] { BrowserIds(); })));
        }
        if (call.point == XCallPoint::Answer && call.name == "ILXConfigFactory::GetBrowserIdEnum" && !ended) {
            ended = true;
            Terminate();
        }
    });
    Start();
    ASSERT_TRUE(ended);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_EQ(m_server->Clients().size(), 1u);
    Terminate();
    EXPECT_EQ(m_server->Clients().size(), 0u);
}

TEST_F(Lives, ANestedInitialisationDoesNothing) {
    int registered = 0;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.point != XCallPoint::Answer || call.name != "ILXDataUpdate::RegisterCallback") { return; }
        if (++registered == 1) {
            EXPECT_EQ(Start(), S_OK);
            Terminate();
            EXPECT_EQ(Start(), S_OK);
        }
    });
    Start();
    EXPECT_EQ(registered, 1);
    EXPECT_EQ(Calls().Of("ILXDataUpdate::EnableAdvicesDataType"), 0u);
    EXPECT_EQ(m_server->Clients().size(), 0u);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_EQ(m_server->Clients().size(), 1u);
}

TEST_F(Lives, ATypeThatOutlivesItsCacheFetchesOnlyOneKindAtATime) {
    ASSERT_EQ(Start(), S_OK);
    const auto item = Type("Item");
    Terminate();
    m_cache.Reset();
    ExpectCalls(1, [&] { LXGet(item, &ILXType::GetPageEnum); });
    ExpectCalls(1, [&] { LXGet(item, &ILXType::GetGroupEnum); });
}

// The base is of another cache, which goes on.
TEST_F(Lives, ATypeThatEndsLeavesTheComponentsOfItsBaseAlone) {
    ASSERT_EQ(Start(), S_OK);
    const auto derived = Type("Document");
    const auto title = Attribute("Document", "Title");
    const auto ended = std::exchange(m_cache, nullptr);
    ASSERT_EQ(Start(), S_OK);
    ASSERT_EQ(derived.As<ILXTypeCache>()->SetBaseType(Type("Pump").As<ILXTypeCache>().Get()), S_OK);
    const auto head = LXGet(derived, &ILXType::GetAttribute, "Head");
    LXGet(head, &ILXAttribute::GetFormat, 1);
    const auto none = [&] { EXPECT_EQ(LXResult(title, &ILXAttribute::GetFormat, 1), S_FALSE); };
    none();
    EXPECT_EQ(ended.As<IDPFObject>()->Terminate(), S_OK);
    ExpectCalls(1, none); // ended, so nothing is kept
    ExpectCalls(0, [&] { LXGet(head, &ILXAttribute::GetFormat, 1); });
}

TEST_F(Lives, ConcurrentInitializeAndTerminateRegisterAndUnregisterInPairs) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    for (int round = 0; round < 1000 && std::chrono::steady_clock::now() < until; ++round) {
        ASSERT_EQ(Start(0), S_OK);
        std::atomic<int> arrived{0};
        const auto meet = [&arrived] { // not std::barrier: one C++ library's loses wake-ups
            for (++arrived; arrived.load() < 2;) {
                std::this_thread::yield();
            }
        };
        const auto ended = std::async(std::launch::async, [&] {
            meet();
            Terminate();
        });
        meet();
        EXPECT_EQ(Start(0), S_OK);
        ended.wait();
        const std::size_t connections = TypeNames().empty() ? 0 : 1;
        ASSERT_EQ(m_server->Clients().size(), connections) << "in round " << round;
        Terminate();
    }
}

TEST_F(Lives, AFailedInitialisationIsNotRegisteredAndHoldsNoReferences) {
    for (int round = 0; round < 5; ++round) {
        m_cache.Reset();
        Calls().FailCall(AllTypes, E_ABORT);
        EXPECT_EQ(Start(), E_ABORT);
        const auto error = LXErrorInformation::Take();
        EXPECT_EQ(error.description, OLESTR("the types cannot be loaded"));
        EXPECT_NE(error.source.find(OLESTR("XLXConfigFactoryCacheManager::Init (")), XLXText::npos);
        EXPECT_EQ(m_server->Clients().size(), 0u);
        ILXConfigFactoryCache* const cache = m_cache.Get();
        cache->AddRef();
        EXPECT_EQ(cache->Release(), 1u) << "only the client may hold a reference";
        EXPECT_EQ(PumpLabel(), "First"); // the server is asked again
        ExpectCalls(0, [&] { EXPECT_EQ(PumpLabel(), "First"); });
        EXPECT_EQ(Start(), S_OK);
        Terminate();
    }
}

/// Edits that come before the relations are loaded.
class WithoutRelations : public Lives {
protected:
    void SetUp() override { Change("old", S_OK); }

    void Read() {
        m_browserId = LXElements(LXGet(Factory(), &ILXConfigFactory::GetBrowserIdEnum)).at(0);
        m_spec = AllSpecs().at(0);
        m_format = LXGet(m_spec, &ILXGlobalAttributeFormatSpec::GetFormat, 1);
        EXPECT_EQ(Values(), (Names{"old", "old", "old"}));
    }
    Names Values() {
        return {LXNarrow(LXRead(m_browserId.Get(), Label)), LXNarrow(LXRead(m_spec.Get(), Member)),
                LXNarrow(LXRead(m_format.Get(), Member))};
    }
    void Change(const char* value, HRESULT expected) {
        EXPECT_EQ(Edit().SetBrowserIdProperty("First", Label, value).result, expected);
        EXPECT_EQ(Edit().SetGlobalSpecProperty("First", Member, value).result, expected);
        EXPECT_EQ(Edit().SetGlobalSpecFormatProperty("First", 1, Member, value).result, expected);
    }
    /// Starts; inside a call, another thread reads, and then the values change.
    void StartAndChangeInside(const char* method, HRESULT notified) {
        bool changed = false;
        Calls().SetHook([&](const XServerCall& call) {
            if (call.name == method && !std::exchange(changed, true)) {
                std::async(std::launch::async, [&] { Read(); }).get();
                Change("new", notified);
            }
        });
        ASSERT_EQ(Start(), S_OK);
        ASSERT_TRUE(changed);
        EXPECT_EQ(Values(), (Names{"new", "new", "new"}));
    }

    static constexpr int Label = 1; // of a browser id
    static constexpr int Member = 3;
    XLXComPtr<ILXBrowserId> m_browserId;
    XLXComPtr<ILXGlobalAttributeFormatSpec> m_spec;
    XLXComPtr<ILXFormat> m_format;
};

TEST_F(WithoutRelations, NotificationsAfterAStartWithoutTypes) {
    Calls().FailCall(AllTypes, S_FALSE);
    ASSERT_EQ(Start(), S_FALSE);
    Read();
    Change("new", E_POINTER);
    EXPECT_EQ(Values(), (Names{"new", "new", "new"}));
}

TEST_F(WithoutRelations, NotificationsDuringAStart) { StartAndChangeInside(AllTypes, E_POINTER); }

TEST_F(WithoutRelations, EditsBeforeNotificationsAreEnabled) {
    StartAndChangeInside("ILXDataUpdate::EnableAdvicesDataType", S_OK); // the server sends none
}
} // namespace

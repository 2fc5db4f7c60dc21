// SPDX-License-Identifier: MIT
//
// How long negative answers, failed loads and removals of specs are cached.
#include "hostileserver.h"

#include <future>
#include <thread>

namespace {
using Names = std::vector<std::string>;

XServerModel AnswerModel() {
    XServerModel model = LXTestModel();
    for (int i = 0; i < 4; ++i) {
        model.AddGlobalSpec("Spec" + std::to_string(i));
    }
    model.AddRelation("Item", "Document", "nodes").AddPCInfo("Tree");
    return model;
}

class Answers : public HostileTest {
protected:
    Answers() : HostileTest(AnswerModel()) {}

    void SetUp() override { ASSERT_EQ(Start(), S_OK); }
    void TearDown() override {
        Calls().StopFailing();
        Terminate();
    }

    HRESULT Ask(const std::string& name) {
        XLXComPtr<ILXType> type;
        return Factory()->GetType(XLXComBSTR(LXFromUtf8(name)).Get(), nullptr, type.Put());
    }

    using Spec = XLXComPtr<ILXGlobalAttributeFormatSpec>;
    std::vector<Spec> Specs() {
        std::vector<Spec> all;
        XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
        EXPECT_EQ(Factory()->GetAllGlobalAttributeFormatSpecs(specs.Put()), S_OK);
        Spec spec;
        while (specs && specs->GetSingleNext(spec.Put()) == S_OK) {
            all.push_back(spec);
        }
        return all;
    }
    Names SpecIds() {
        Names ids;
        for (const Spec& spec : Specs()) {
            ids.push_back(LXNarrow(LXRead(spec.Get(), 0)));
        }
        return ids;
    }
    HRESULT RemoveById(const char* id) {
        return Factory()->RemoveGlobalAttributeFormatSpecByID(XLXComBSTR(LXFromUtf8(id)).Get());
    }
    XLXComPtr<ILXParentChild> Relation() {
        XLXComPtr<ILXParentChildEnum> relations;
        XLXComPtr<ILXParentChild> relation;
        Factory()->GetParentChildEnum(XLXComBSTR(OLESTR("Item")).Get(), nullptr, relations.Put());
        if (relations) { relations->GetSingleNext(relation.Put()); }
        return relation;
    }

    /// A method that always fails, in a load whose failure is cached.
    struct Failure {
        const char* method;
        HRESULT result; ///< S_OK: an enumeration that returns nothing and never ends
    };
    /// Expects that a query is passed to the server once, and not again before a notification.
    void ExpectKept(std::initializer_list<Failure> failures, const char* notification,
                    const std::function<void()>& question) {
        for (const Failure& failure : failures) {
            SCOPED_TRACE(std::string(failure.method) + (failure.result == S_OK ? " without end" : " fails"));
            Calls().FailAlways(failure.method, failure.result);
            m_server->SendNotification(notification);
            const auto before = Calls().Of(failure.method);
            question();
            EXPECT_GT(Calls().Of(failure.method), before);
            ExpectCalls(0, question);
            Calls().StopFailing();
        }
    }
};

// ---- negative answers

TEST_F(Answers, AnUnknownNameIsAskedForAgainAfterARefill) {
    Terminate();
    // The bulk read delivers the pump and its bases; the others are fetched by name.
    m_factory->types = [&](SAFEARRAY** types) {
        const XLXComBSTR name(OLESTR("Pump"));
        const auto bulk = m_server->ConfigFactory().As<ILXConfigFactoryEx>();
        return bulk->GetTypeArrayByTypeNameEx(name.Get(), 1, 15, types);
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

TEST_F(Answers, OfTooManyUnknownNamesTheOldestGo) {
    constexpr int Kept = 10000;
    for (int i = 0; i <= Kept; ++i) {
        ASSERT_EQ(Ask("Unknown" + std::to_string(i)), S_FALSE);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(Ask("Unknown" + std::to_string(Kept)), S_FALSE); });
    ExpectCalls(1, [&] { EXPECT_EQ(Ask("Unknown0"), S_FALSE); });
    EXPECT_EQ(Ask("Pump"), S_OK);
}

TEST_F(Answers, OfTooManyUnknownFormatsTheOldestGo) {
    constexpr int First = 100;
    constexpr int Kept = 64;
    const auto head = Attribute("Pump", "Head");
    XLXComPtr<ILXFormat> known;
    EXPECT_EQ(head->GetFormat(1, known.Put()), S_OK);
    const auto ask = [&](int type) {
        XLXComPtr<ILXFormat> format;
        return head->GetFormat(type, format.Put());
    };
    for (int i = 0; i <= Kept; ++i) {
        EXPECT_EQ(ask(First + i), S_FALSE);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(ask(First + Kept), S_FALSE); });
    ExpectCalls(1, [&] { EXPECT_EQ(ask(First), S_FALSE); });
    XLXComPtr<ILXFormat> again;
    ExpectCalls(0, [&] { EXPECT_EQ(head->GetFormat(1, again.Put()), S_OK); });
    EXPECT_EQ(again, known);
}

// ---- failed loads

TEST_F(Answers, AttributeTypesThatFailAreNone) {
    const auto head = Attribute("Pump", "Head");
    ExpectKept({{"ILXAttribute::GetAttributeTypeEnum", E_OUTOFMEMORY},
                {"ILXAttributeTypeEnum::RemNext", E_OUTOFMEMORY},
                {"ILXAttributeTypeEnum::RemNext", S_OK},
                {"ILXAttributeType::GetProperties", E_OUTOFMEMORY}},
               "objects/Pump/0/1024", [&] {
                   XLXComPtr<ILXAttributeTypeEnum> types;
                   head->GetAttributeTypeEnum(types.Put());
               });
}

TEST_F(Answers, PCInfosThatFailAreNone) {
    const auto relation = Relation();
    ExpectKept({{"ILXParentChild::GetPCInfoEnum", E_OUTOFMEMORY},
                {"ILXPCInfoEnum::RemNext", E_OUTOFMEMORY},
                {"ILXPCInfoEnum::RemNext", S_OK},
                {"ILXPCInfo::GetProperties", E_OUTOFMEMORY}},
               "pc/Item/0/4", [&] {
                   XLXComPtr<ILXPCInfoEnum> infos;
                   relation->GetPCInfoEnum(infos.Put());
               });
}

TEST_F(Answers, RelationsThatFailAreNoneAndSpecsAsManyAsCame) {
    EXPECT_TRUE(Relation());
    ExpectKept({{"ILXConfigFactory::GetPCArray", E_OUTOFMEMORY}}, "pc/Item/0/4", [&] { EXPECT_FALSE(Relation()); });
    m_server->SendNotification("pc/Item/0/4");
    EXPECT_TRUE(Relation());
    constexpr const char* next = "ILXGlobalAttributeFormatSpecEnum::RemNext";
    ExpectKept({{next, E_OUTOFMEMORY}, {next, S_OK}}, "objects/x/0/256", [&] {
        XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
        Factory()->GetAllGlobalAttributeFormatSpecs(specs.Put());
    });
}

// ---- removed specs

TEST_F(Answers, ASpecThatIsRemovedByAHandleFromBeforeARefill) {
    const auto former = Specs();
    m_server->SendNotification("objects/x/0/256");
    EXPECT_EQ(Specs().size(), 4u);
    EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(former[1].Get()), S_OK);
    EXPECT_EQ(SpecIds(), (Names{"Spec0", "Spec2", "Spec3"}));
}

TEST_F(Answers, ASpecThatIsRemovedByItsIdWhileItsValuesAreUnread) {
    Specs();
    Calls().SetHook([&](const XServerCall& call) { // the server's objects of a removed spec fail
        if (call.name == "ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID" && call.point == XCallPoint::Answer) {
            Calls().FailAlways("ILXGlobalAttributeFormatSpec::GetProperties", E_ACCESSDENIED);
        }
    });
    EXPECT_EQ(RemoveById("Spec2"), S_OK);
    Calls().SetHook({});
    Calls().StopFailing();
    EXPECT_EQ(SpecIds(), (Names{"Spec0", "Spec1", "Spec3"}));
}

TEST_F(Answers, ASpecThatIsRemovedDuringAnotherThreadsFill) {
    const auto former = Specs();
    EXPECT_EQ(LXRead(former[2].Get(), 0), OLESTR("Spec2"));
    for (const bool byId : {true, false}) {
        m_server->SendNotification("objects/x/0/256");
        auto gate = Calls().PauseAt("ILXGlobalAttributeFormatSpecEnum::RemNext", XCallPoint::Answer);
        auto fill = std::async(std::launch::async, [&] { Specs(); });
        gate.WaitUntilArrived();
        EXPECT_EQ(byId ? RemoveById("Spec1") : Factory()->RemoveGlobalAttributeFormatSpec(former[2].Get()), S_OK);
        gate.Open();
        fill.wait();
        EXPECT_EQ(SpecIds(), byId ? (Names{"Spec0", "Spec2", "Spec3"}) : (Names{"Spec0", "Spec3"}));
    }
}
class Flooded;

/// Many threads query while a notification overtakes every answer of the server.
struct XFlood {
    const char* name;
    const char* method;
    const char* dataId;
    std::function<void(Flooded&)> ask;
};

class Flooded : public CacheTest, public testing::WithParamInterface<XFlood> {
public:
    void AskForType() { Type("Item"); }
    void AskForPage() {
        XLXComPtr<ILXPage> page;
        EXPECT_EQ(m_item->GetPage(1, page.Put()), S_OK);
    }
    void AskForRelations() {
        XLXComPtr<ILXParentChildEnum> relations;
        EXPECT_EQ(Factory()->GetParentChildEnum(XLXComBSTR(OLESTR("Item")).Get(), nullptr, relations.Put()), S_FALSE);
    }

protected:
    void SetUp() override {
        ASSERT_EQ(Start(4), S_OK);
        m_item = Type("Item");
    }
    void TearDown() override {
        Calls().SetHook({});
        m_item.Reset();
        Terminate();
    }

    XLXComPtr<ILXType> m_item;
};

TEST_P(Flooded, NobodyWaitsForMoreThanTwoLoads) {
    constexpr int Readers = 6;
    constexpr int Questions = 8; // per thread, one after the other
    std::atomic<int> asking{0};
    std::atomic<int> loads{0};
    std::atomic<int> most{0}; // number of loads that ended while a thread waited for an answer
    m_server->SendNotification(GetParam().dataId);
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name != GetParam().method || call.point != XCallPoint::Answer) { return; }
        ++loads;
        m_server->SendNotification(GetParam().dataId);
        while (asking.load() < Readers) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10)); // announced queries are made now
    });
    std::vector<std::future<void>> readers;
    for (int i = 0; i < Readers; ++i) {
        readers.push_back(std::async(std::launch::async, [&] {
            ++asking;
            for (int question = 0; question < Questions; ++question) {
                const int before = loads.load();
                GetParam().ask(*this);
                const int waited = loads.load() - before;
                int known = most.load();
                while (known < waited && !most.compare_exchange_weak(known, waited)) {}
            }
        }));
    }
    for (std::future<void>& reader : readers) {
        reader.get();
    }
    // The load in progress, the next one for all that arrived meanwhile, and one more for a late thread.
    EXPECT_LE(most.load(), 3);
}

INSTANTIATE_TEST_SUITE_P(
    By, Flooded,
    testing::Values(XFlood{"Types", "ILXConfigFactoryEx::GetTypeArrayEx", "objects/x/0/2", &Flooded::AskForType},
                    XFlood{"Pages", "ILXType::GetTypeComponentData", "objects/x/0/32", &Flooded::AskForPage},
                    XFlood{"Relations", "ILXConfigFactory::GetPCArray", "pc/x/0/4", &Flooded::AskForRelations}),
    [](const auto& test) { return test.param.name; });
} // namespace

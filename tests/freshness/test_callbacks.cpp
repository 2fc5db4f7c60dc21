// SPDX-License-Identifier: MIT
//
// Servers that call back during a request, and server objects that call the cache when they are destroyed.
#include "hostileserver.h"
#include "inside.h"

#include <condition_variable>
#include <future>

namespace {
XServerModel AskingModel() {
    XServerModel model = LXTestModel();
    model.AddRelation("Item", "Document", "nodes").AddPCInfo("Tree");
    return model;
}

// The next request that the server makes on this thread, and the server method that makes it.
thread_local std::function<void()> t_ask;
thread_local std::string_view t_inside;

class Questions : public CacheTest {
public:
    // Requests, each with its expected answer.
    void AskForRelations() {
        EXPECT_EQ(LXReadAll<ILXParentChild>(Relations(), XProperty::ChildName), Texts{"Document"});
    }
    void AskForPCInfos() {
        EXPECT_EQ((LXList<ILXPCInfo, ILXPCInfoEnum>(XProperty::PCInfoBrowser,
                                                    [&](auto out) { return m_relation->GetPCInfoEnum(out); })),
                  Texts{"Tree"});
    }
    void AskForBrowserIds() {
        EXPECT_EQ((LXList<ILXBrowserId, ILXBrowserIdEnum>(XProperty::BrowserIdName,
                                                          [&](auto out) { return Factory()->GetBrowserIdEnum(out); })),
                  Texts{"Tree"});
    }
    void AskForTypes() {
        EXPECT_EQ((LXList<ILXType, ILXTypeEnum>(XProperty::TypeName,
                                                [&](auto out) { return Factory()->GetTypeEnum(nullptr, out); })),
                  (Texts{"Document", "Equipment", "Item", "Pump"}));
    }
    void AskForTypesAfterANotification() {
        m_server->SendNotification("objects/x/0/1");
        AskForTypes();
    }
    void AskTheItem() { ExpectAttribute(m_item, OLESTR("Weight")); }
    void AskTheDocument() { ExpectAttribute(m_document, OLESTR("Title")); }
    void AskForPages() {
        EXPECT_EQ(
            (LXList<ILXPage, ILXPageEnum>(XProperty::PageNumber, [&](auto out) { return m_item->GetPageEnum(out); })),
            (Texts{"1", "2"}));
    }
    void AskASecondCache() {
        const XLXComPtr<ILXConfigFactoryCache> first = m_cache;
        m_cache.Reset();
        EXPECT_EQ(Start(), S_OK);
        AskForTypes();
        Terminate();
        m_cache = first;
    }

protected:
    using Texts = std::vector<std::string>;

    Questions() : CacheTest(AskingModel()) {}
    void TearDown() override {
        Calls().SetHook({});
        Terminate();
    }

    /// Starts without components, loads some objects and makes everything stale.
    void StartStale() {
        ASSERT_EQ(Start(0), S_OK);
        m_item = Type("Item");
        m_document = Type("Document");
        XLXComPtr<ILXParentChildEnum> relations = Relations();
        ASSERT_TRUE(relations && relations->GetSingleNext(m_relation.Put()) == S_OK);
        m_server->SendNotification("objects/x/0/1");
    }
    XLXComPtr<ILXParentChildEnum> Relations() {
        XLXComPtr<ILXParentChildEnum> relations;
        EXPECT_EQ(m_cache->GetPCEnum2(nullptr, XLXComBSTR(OLESTR("Item")).Get(), nullptr, 0, relations.Put()), S_OK);
        return relations;
    }

    /// Makes the server call back on each thread with the thread's t_ask.
    void LetTheServerAsk() {
        Calls().SetHook([](const XServerCall& call) {
            if (t_ask && call.name == t_inside && call.point == XCallPoint::Arrival) { std::exchange(t_ask, {})(); }
        });
    }

    XLXComPtr<ILXType> m_item;
    XLXComPtr<ILXType> m_document;
    XLXComPtr<ILXParentChild> m_relation;

private:
    static void ExpectAttribute(const XLXComPtr<ILXType>& type, const OLECHAR* name) {
        XLXComPtr<ILXAttribute> attribute;
        EXPECT_EQ(type->GetAttribute(XLXComBSTR(XLXText(name)).Get(), attribute.Put()), S_OK);
    }
};

using Ask = void (Questions::*)();

/// A request and the server method that it calls.
struct Question {
    Ask ask;
    const char* method;
};
constexpr Question Relations{&Questions::AskForRelations, "ILXConfigFactory::GetPCArray"};
constexpr Question BrowserIds{&Questions::AskForBrowserIds, "ILXConfigFactory::GetBrowserIdEnum"};
constexpr Question PCInfos{&Questions::AskForPCInfos, "ILXParentChild::GetPCInfoEnum"};
constexpr Question Types{&Questions::AskForTypes, "ILXConfigFactoryEx::GetTypeArrayEx"};
constexpr Question Item{&Questions::AskTheItem, "ILXType::GetTypeComponentData"};
constexpr Question Document{&Questions::AskTheDocument, "ILXType::GetTypeComponentData"};

struct Nested {
    const char* name;
    Question outer;
    Ask inner;
};
struct Crossing {
    const char* name;
    Question first;
    Question second;
};
std::ostream& operator<<(std::ostream& out, const Nested& nested) { return out << nested.name; }
std::ostream& operator<<(std::ostream& out, const Crossing& crossing) { return out << crossing.name; }

class AskingBack : public Questions, public testing::WithParamInterface<Nested> {};

TEST_P(AskingBack, OnTheThreadThatAsksIsAnswered) {
    StartStale();
    LetTheServerAsk();
    t_inside = GetParam().outer.method;
    t_ask = [this] { (this->*GetParam().inner)(); };
    (this->*GetParam().outer.ask)();
    EXPECT_FALSE(t_ask) << t_inside << " was not called";
    (this->*GetParam().outer.ask)();
    (this->*GetParam().inner)();
}

INSTANTIATE_TEST_SUITE_P(Callbacks, AskingBack,
                         testing::Values(Nested{"PagesInsideAttributes", Item, &Questions::AskForPages},
                                         Nested{"BrowserIdsInsideRelations", Relations, &Questions::AskForBrowserIds},
                                         Nested{"TypesInsideComponents", Item,
                                                &Questions::AskForTypesAfterANotification},
                                         Nested{"ASecondCacheInsideTypes", Types, &Questions::AskASecondCache}),
                         testing::PrintToStringParamName());

class AskingCrosswise : public Questions, public testing::WithParamInterface<Crossing> {
protected:
    /// Waits for the other thread.
    void Meet() {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_here;
        m_changed.notify_all();
        EXPECT_TRUE(m_changed.wait_for(lock, std::chrono::seconds(5), [this] { return m_here == 2; }));
    }
    /// On a new thread: makes a request. Inside the server, waits for the other thread and makes the other's request.
    std::future<void> Start(const Question& own, const Question& others) {
        return std::async(std::launch::async, [this, own, others] {
            t_inside = own.method;
            t_ask = [this, others] {
                Meet();
                (this->*others.ask)();
            };
            (this->*own.ask)();
            EXPECT_FALSE(t_ask) << own.method << " was not called";
        });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_here = 0;
};

TEST_P(AskingCrosswise, DoesNotWaitForTheOther) {
    StartStale();
    LetTheServerAsk();
    const auto first = Start(GetParam().first, GetParam().second);
    const auto second = Start(GetParam().second, GetParam().first);
    EXPECT_EQ(first.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(second.wait_for(std::chrono::seconds(1)), std::future_status::ready);
}

INSTANTIATE_TEST_SUITE_P(Callbacks, AskingCrosswise,
                         testing::Values(Crossing{"PCInfosAndTypes", PCInfos, Types},
                                         Crossing{"RelationsAndBrowserIds", Relations, BrowserIds},
                                         Crossing{"TwoTypes", Item, Document}),
                         testing::PrintToStringParamName());

/// A server object that runs a function when it is destroyed.
class Leaving final : public HostileObject<IUnknown> {
public:
    explicit Leaving(std::function<void()> atEnd) : m_atEnd(std::move(atEnd)) {}
    ~Leaving() override { m_atEnd(); }

private:
    const std::function<void()> m_atEnd;
};

class LastRelease : public HostileTest {
protected:
    LastRelease() {
        m_factory->types = [this](SAFEARRAY** out) { return Give({OLESTR("Base"), OLESTR("Derived")}, out); };
        m_factory->namedTypes = [this](SAFEARRAY** out) { return Give({OLESTR("Derived")}, out); };
    }
    void TearDown() override {
        m_asks = false;
        Terminate();
    }

    /// Types whose server object and base-type property make a request when they are destroyed.
    HRESULT Give(const std::vector<XLXText>& names, SAFEARRAY** out) {
        XLXCFCDataTransfer::XILXTypeMap types;
        for (const XLXText& name : names) {
            auto& record = types.records[IndexOf(types, name)];
            record.listed = true;
            record.config.object = Asking();
            XLXVariantVector values(28);
            values[0] = XLXComVariant::FromBstr(name);
            values[2] = XLXComVariant::FromBstr(name == OLESTR("Base") ? OLESTR("") : OLESTR("Base"));
            values[27] = XLXComVariant::FromUnknown(Asking().Get());
            record.config.values = std::move(values);
            std::vector<XLXCFCDataTransfer::XILXAttributeData> attributes(1);
            attributes[0].object = new Opaque;
            XLXVariantVector ofAttribute(60);
            ofAttribute[0] = XLXComVariant::FromBstr(OLESTR("Of") + name);
            attributes[0].values = std::move(ofAttribute);
            record.components.attributes = XLXCFCDataTransfer::GetArrayFromAttributeList(std::move(attributes));
        }
        *out = XLXCFCDataTransfer::GetArrayFromMap(std::move(types)).Detach();
        return S_OK;
    }
    XLXComPtr<IUnknown> Asking() {
        return XLXComPtr<IUnknown>(new Leaving([this] { AskFromAnotherThread(); }));
    }
    void AskFromAnotherThread() {
        if (!m_asks) { return; }
        ++m_asked;
        m_answers.push_back(std::async(std::launch::async, [this] {
            const auto type = Named(OLESTR("Derived"));
            XLXComPtr<ILXAttribute> attribute;
            EXPECT_EQ(type->GetAttribute(XLXComBSTR(OLESTR("OfBase")).Get(), attribute.Put()), S_OK);
        }));
        EXPECT_EQ(m_answers.back().wait_for(std::chrono::seconds(3)), std::future_status::ready);
    }

    bool m_asks = false;
    int m_asked = 0;
    std::vector<std::future<void>> m_answers;
};

TEST_F(LastRelease, OfAServerObjectRunsUnderNoLock) {
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

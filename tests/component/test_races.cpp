// SPDX-License-Identifier: MIT
//
// Notifications that arrive during a fetch, and servers that wait for them. Gates and hooks in the server make each
// race deterministic.
#include "cachefixture.h"
#include "clientlife.h"

#include <algorithm>
#include <atomic>
#include <future>

class Races : public CacheTest {
protected:
    Races() : CacheTest(LXLifeModel()) {}
    void TearDown() override {
        Calls().SetHook({});
        Terminate();
    }

    /// Runs an edit inside the next call of a method, after its answer was created, so the answer arrives stale.
    /// @param onOtherThread  the server's call waits until the notification has returned on another thread
    void EditInside(const char* method, bool onOtherThread, std::function<void()> edit) {
        m_pending.store(true);
        Calls().SetHook([this, method, onOtherThread, edit = std::move(edit)](const XServerCall& call) {
            if (call.name != method || call.point != XCallPoint::Answer || !m_pending.exchange(false)) { return; }
            if (onOtherThread) {
                std::async(std::launch::async, edit).get();
            } else {
                edit();
            }
        });
    }
    bool Happened() const { return !m_pending.load(); }

private:
    std::atomic<bool> m_pending{false};
};

// Members that were empty get values, and lose them when the server's are read again; those beside them stay.
TEST_F(Races, MembersAreFilledAmongOnesThatAreRead) {
    constexpr int FirstEmpty = 50;
    constexpr int Members = 60;
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    std::atomic<bool> isDone{false};
    const auto read = [&] {
        int wrong = 0;
        while (!isDone.load()) {
            wrong += LXRead(head.Get(), XProperty::AttributeName) != OLESTR("Head") ? 1 : 0;
            for (int member = FirstEmpty; member < Members; ++member) {
                XLXComVariant value;
                const HRESULT result = head->GetProperty(member, value.Put());
                wrong += result == S_OK ? value.AsLong() != member : result != S_FALSE;
            }
        }
        return wrong;
    };
    std::future<int> readers[] = {std::async(std::launch::async, read), std::async(std::launch::async, read)};
    for (int round = 0; round < 50; ++round) {
        for (int member = Members; member-- > FirstEmpty;) {
            const XLXComVariant value = XLXComVariant::FromI4(member);
            EXPECT_EQ(head->SetProperty(member, value.Get()), S_OK);
        }
        const std::string unit = std::to_string(round);
        Edit().SetAttributeProperty("Pump", "Head", XProperty::Unit, unit);
        EXPECT_EQ(LXToUtf8(LXRead(head.Get(), XProperty::Unit)), unit);
    }
    isDone.store(true);
    for (auto& reader : readers) {
        EXPECT_EQ(reader.get(), 0);
    }
}

class OvertakenFetch;

/// An edit inside the call that answers a question, whose answer must not be kept.
struct XOvertaken {
    const char* name;
    LONG transferMode;
    const char* stale; ///< the notification that makes the question ask the server; null when it does anyway
    const char* method;
    std::string (OvertakenFetch::*ask)();
    void (*edit)(XServerEdits, XSampleServer&);
    const char* expected; ///< of the next question
};

class OvertakenFetch : public Races, public testing::WithParamInterface<std::tuple<XOvertaken, bool>> {
public:
    std::string AskForType() {
        XLXComPtr<ILXType> type;
        Factory()->GetType(B("Valve").Get(), nullptr, type.Put());
        return type ? LXNarrow(LXRead(type.Get(), XProperty::TypeName)) : "";
    }
    std::string AskForLabel() { return LXNarrow(LXRead(m_head.Get(), XProperty::Label)); }
    std::string AskForAttributes() {
        const auto pump = Type("Pump");
        return Joined(LXList<ILXAttribute, ILXAttributeEnum>(XProperty::AttributeName,
                                                             [&](auto out) { return pump->GetAttributeEnum(out); })) +
               LXNarrow(LXRead(Attribute("Pump", "Weight").Get(), XProperty::Label));
    }
    std::string AskForFormat() {
        XLXComPtr<ILXFormat> format;
        return m_head->GetFormat(9, format.Put()) == S_OK ? "format" : "";
    }
    std::string AskForAttributeTypes() {
        return Joined(LXList<ILXAttributeType, ILXAttributeTypeEnum>(
            XProperty::AttributeTypeName, [&](auto out) { return m_head->GetAttributeTypeEnum(out); }));
    }
    std::string AskForRelations() {
        return Joined(LXList<ILXParentChild, ILXParentChildEnum>(XProperty::ChildList, [&](auto out) {
            return m_cache->GetPCEnum2(nullptr, B("Equipment").Get(), nullptr, 0, out);
        }));
    }
    std::string AskForRelationValue() { return LXNarrow(LXRead(Relation().Get(), XProperty::NameShort)); }
    std::string AskForPCInfo() {
        XLXComPtr<ILXPCInfo> info;
        EXPECT_EQ(Relation()->GetPCInfo(B("Tree").Get(), info.Put()), S_OK);
        return LXNarrow(LXRead(info.Get(), XProperty::PCInfoLabel));
    }
    std::string AskForBrowserId() {
        return Joined(
            LXList<ILXBrowserId, ILXBrowserIdEnum>(1, [&](auto out) { return Factory()->GetBrowserIdEnum(out); }));
    }
    std::string AskForSpecs() {
        return Joined(LXList<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
            0, [&](auto out) { return Factory()->GetAllGlobalAttributeFormatSpecs(out); }));
    }
    std::string AskForPlanType() {
        return m_cache->IsPlantype(m_server->DataObject("Document").Get()) == S_OK ? "plan" : "";
    }

protected:
    static XLXComBSTR B(const char* text) { return XLXComBSTR(LXFromUtf8(text)); }
    static std::string Joined(std::vector<std::string> texts) {
        std::sort(texts.begin(), texts.end());
        std::string all;
        for (const std::string& text : texts) {
            all += text + " ";
        }
        return all;
    }
    XLXComPtr<ILXParentChild> Relation() {
        XLXComPtr<ILXParentChild> relation;
        EXPECT_EQ(m_cache->GetSinglePCRelation(B("Equipment").Get(), B("Pump").Get(), nullptr, B("parts").Get(),
                                               relation.Put()),
                  S_OK);
        return relation;
    }

    XLXComPtr<ILXAttribute> m_head;
};

void AddValve(XServerEdits edit, XSampleServer&) { edit.AddType("Valve", "Item"); }

const XOvertaken Overtaken[] = {
    {"Types", 15, "objects/x/0/2", "ILXConfigFactoryEx::GetTypeArrayEx", &OvertakenFetch::AskForType, AddValve,
     "Valve"},
    {"UnknownType", 15, nullptr, "ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", &OvertakenFetch::AskForType, AddValve,
     "Valve"},
    {"Values", 15, "properties/x/0/512", "ILXAttribute::GetProperties", &OvertakenFetch::AskForLabel,
     [](XServerEdits edit, XSampleServer&) { edit.SetAttributeProperty("Pump", "Head", XProperty::Label, "new"); },
     "new"},
    {"Components", 0, "objects/x/0/512", "ILXType::GetTypeComponentData", &OvertakenFetch::AskForAttributes,
     [](XServerEdits edit, XSampleServer&) {
         edit.AddAttribute("Item", "Colour");
         edit.AddAttribute("Pump", "Speed");
         edit.SetAttributeProperty("Item", "Weight", XProperty::Label, "Mass");
     },
     "Colour Head Name Power Speed Weight Mass"},
    {"Format", 15, nullptr, "ILXAttribute::GetFormat", &OvertakenFetch::AskForFormat,
     [](XServerEdits edit, XSampleServer&) { edit.AddAttributeFormat("Pump", "Head", 9); }, "format"},
    {"AttributeTypes", 15, "objects/x/0/1024", "ILXAttributeTypeEnum::RemNext", &OvertakenFetch::AskForAttributeTypes,
     [](XServerEdits edit, XSampleServer&) { edit.AddAttributeType("Pump", "Head", "Yards"); }, "Feet Metres Yards "},
    {"Relations", 15, "pc/x/0/4", "ILXConfigFactory::GetPCArray", &OvertakenFetch::AskForRelations,
     [](XServerEdits edit, XSampleServer&) { edit.AddRelation("Equipment", "Document", "late"); }, "late parts "},
    // The map stays fresh, the values do not.
    {"RelationValues", 15, "pc/x/0/4", "ILXConfigFactory::GetPCArray", &OvertakenFetch::AskForRelationValue,
     [](XServerEdits edit, XSampleServer& server) {
         edit.SetRelationProperty("Equipment", "Pump", "parts", XProperty::NameShort, "new", XNotify::No);
         server.SendNotification("properties/x/0/4");
     },
     "new"},
    {"PCInfos", 15, "pc/x/0/4", "ILXPCInfo::GetProperties", &OvertakenFetch::AskForPCInfo,
     [](XServerEdits edit, XSampleServer&) {
         edit.SetPCInfoProperty("Equipment", "Pump", "parts", "Tree", XProperty::PCInfoLabel, "new");
     },
     "new"},
    {"BrowserIds", 15, nullptr, "ILXBrowserId::GetProperties", &OvertakenFetch::AskForBrowserId,
     [](XServerEdits edit, XSampleServer&) { edit.SetBrowserIdProperty("Tree", 1, "new"); }, "new "},
    {"Specs", 15, nullptr, "ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", &OvertakenFetch::AskForSpecs,
     [](XServerEdits edit, XSampleServer&) { edit.AddGlobalSpec("Late"); }, "Area Late Length "},
    {"PlanTypes", 15, nullptr, "ILX_BaseDataObject::GetAttribute", &OvertakenFetch::AskForPlanType,
     [](XServerEdits edit, XSampleServer&) {
         edit.Change(
             [](XServerModel& model) {
                 model.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] = "Document";
             },
             "pc/x/0/4");
     },
     "plan"},
};

TEST_P(OvertakenFetch, IsNotKept) {
    const auto& [row, onOtherThread] = GetParam();
    ASSERT_EQ(Start(row.transferMode), S_OK);
    m_head = Attribute("Pump", "Head");
    if (row.stale != nullptr) { m_server->SendNotification(row.stale); }
    EditInside(row.method, onOtherThread, [&] { row.edit(Edit(), *m_server); });
    (this->*row.ask)(); // may be the answer from before or the new one
    ASSERT_TRUE(Happened());
    EXPECT_EQ((this->*row.ask)(), row.expected);
}

INSTANTIATE_TEST_SUITE_P(By, OvertakenFetch, testing::Combine(testing::ValuesIn(Overtaken), testing::Bool()),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) +
                                    (std::get<1>(test.param) ? "OnAnotherThread" : "");
                         });

TEST_F(Races, AStartThatIsOvertaken) {
    for (const bool onOtherThread : {false, true}) {
        const std::string label = onOtherThread ? "other" : "same";
        EditInside("ILXConfigFactoryEx::GetTypeArrayEx", onOtherThread, [&] {
            Edit().AddType(label, "Item");
            Edit().AddAttribute("Item", "Colour " + label);
            Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, label);
            Edit().SetTypeProperty("Pump", XProperty::TypeLabel, label);
        });
        ASSERT_EQ(Start(), S_OK);
        ASSERT_TRUE(Happened());
        EXPECT_EQ(LXNarrow(LXRead(Type(label.c_str()).Get(), 0)), label);
        EXPECT_TRUE(Attribute("Pump", ("Colour " + label).c_str()));
        EXPECT_EQ(LXNarrow(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label)), label);
        EXPECT_EQ(LXNarrow(LXRead(Type("Pump").Get(), XProperty::TypeLabel)), label);
        Terminate();
    }
}

TEST_F(Races, ValuesThatWaitInDeliveredRecordsAreOvertaken) {
    ASSERT_EQ(Start(), S_OK); // delivered, but not parsed
    Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
    Edit().SetGroupProperty("Item", 1, XProperty::GroupLabel, "Chief");
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label), OLESTR("Lift"));
    EXPECT_EQ(LXRead(Group("Item", 1).Get(), XProperty::GroupLabel), OLESTR("Chief"));
}

// Every fetch is overtaken: each reader gives up after a while, and gets an answer.
TEST_F(Races, AFormatInAStormOfNotifications) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXAttribute::GetFormat" && call.point == XCallPoint::Answer) {
            m_server->SendNotification("objects/Pump/0/2048");
        }
    });
    const auto read = [&] {
        const auto before = Calls().Of("ILXAttribute::GetFormat");
        XLXComPtr<ILXFormat> format;
        EXPECT_EQ(head->GetFormat(1, format.Put()), S_OK);
        EXPECT_EQ(LXRead(format.Get(), 1), OLESTR("1"));
        EXPECT_LE(Calls().Of("ILXAttribute::GetFormat") - before, 64u);
    };
    std::future<void> readers[4];
    for (auto& reader : readers) {
        reader = std::async(std::launch::async, read);
    }
    for (auto& reader : readers) {
        reader.get();
    }
    Calls().SetHook({});
    ExpectCalls(1, [&] {
        XLXComPtr<ILXFormat> format;
        head->GetFormat(1, format.Put());
        head->GetFormat(1, format.Put());
    });
}

TEST_F(Races, FirstQueriesOfSeveralKindsAtOnceFetchOncePerType) {
    ASSERT_EQ(Start(0), S_OK);
    Calls().Reset();
    auto gate = Calls().PauseAt("ILXType::GetTypeComponentData");
    const auto attributes = std::async(std::launch::async, [&] { return Attribute("Pump", "Power"); });
    gate.WaitUntilArrived();
    const auto group = std::async(std::launch::async, [&] { return Group("Pump", 7); });
    const auto again = std::async(std::launch::async, [&] { return Attribute("Pump", "Head"); });
    gate.Open();
    attributes.wait();
    group.wait();
    again.wait();
    EXPECT_LE(Calls().Of("ILXType::GetTypeComponentData"), 4u); // Pump, its two bases, and the pump's groups
}

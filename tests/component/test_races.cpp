// SPDX-License-Identifier: MIT
//
// Notifications that arrive during a fetch, and servers that wait for them. Gates and hooks in the server make each
// race deterministic.
#include "cachefixture.h"

#include <atomic>
#include <future>

class Races : public CacheTest {
protected:
    void TearDown() override {
        Calls().SetHook({});
        if (m_cache) { Terminate(); }
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

class OvertakenFetch : public Races, public testing::WithParamInterface<bool> {};

TEST_P(OvertakenFetch, TypeMap) {
    ASSERT_EQ(Start(), S_OK);
    EditInside("ILXConfigFactoryEx::GetTypeArrayEx", GetParam(), [&] { Edit().AddType("Valve", "Item"); });
    EXPECT_EQ(Edit().AddType("Tank", "Item").result, S_OK); // the next request reloads, and a notification overtakes it
    EXPECT_EQ(LXRead(Type("Tank").Get(), 0), OLESTR("Tank"));
    ASSERT_TRUE(Happened());
    EXPECT_EQ(LXRead(Type("Valve").Get(), 0), OLESTR("Valve"));
}

TEST_P(OvertakenFetch, TypeMapAtStartUp) {
    EditInside("ILXConfigFactoryEx::GetTypeArrayEx", GetParam(), [&] {
        Edit().AddType("Valve", "Item");
        Edit().AddAttribute("Item", "Colour");
        Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
        Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "New label");
    });
    ASSERT_EQ(Start(), S_OK);
    ASSERT_TRUE(Happened());
    EXPECT_EQ(LXRead(Type("Valve").Get(), 0), OLESTR("Valve"));
    EXPECT_EQ(LXRead(Attribute("Pump", "Colour").Get(), 0), OLESTR("Colour"));
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label), OLESTR("Lift"));
    EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeLabel), OLESTR("New label"));
}

TEST_P(OvertakenFetch, PropertyStore) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    const auto set = [&](const char* text) { Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, text); };
    set("first");
    EditInside("ILXAttribute::GetProperties", GetParam(), [&] { set("second"); });
    EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("first")); // the caller still gets the fetched answer
    ASSERT_TRUE(Happened());
    EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("second"));
}

TEST_P(OvertakenFetch, ComponentsOfATypeAndOfItsBase) {
    ASSERT_EQ(Start(0), S_OK);
    EditInside("ILXType::GetTypeComponentData", GetParam(), [&] {
        Edit().AddAttribute("Item", "Colour");
        Edit().AddAttribute("Pump", "Speed");
        Edit().SetAttributeProperty("Item", "Weight", XProperty::Label, "Mass");
    });
    EXPECT_EQ(LXRead(Attribute("Pump", "Weight").Get(), 0), OLESTR("Weight"));
    ASSERT_TRUE(Happened());
    EXPECT_EQ(LXRead(Attribute("Pump", "Speed").Get(), 0), OLESTR("Speed"));
    EXPECT_EQ(LXRead(Attribute("Pump", "Colour").Get(), 0), OLESTR("Colour"));
    EXPECT_EQ(LXRead(Attribute("Pump", "Weight").Get(), XProperty::Label), OLESTR("Mass"));
}

TEST_P(OvertakenFetch, ValuesThatWaitInDeliveredRecords) {
    ASSERT_EQ(Start(), S_OK); // delivered, but not parsed
    Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
    Edit().SetGroupProperty("Item", 1, XProperty::GroupLabel, "Chief");
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label), OLESTR("Lift"));
    EXPECT_EQ(LXRead(Group("Item", 1).Get(), XProperty::GroupLabel), OLESTR("Chief"));
}

TEST_P(OvertakenFetch, FormatAndItsNegativeAnswer) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    XLXComPtr<ILXFormat> format;
    EditInside("ILXAttribute::GetFormat", GetParam(), [&] { Edit().AddAttributeFormat("Pump", "Head", 9); });
    EXPECT_EQ(head->GetFormat(9, format.Put()), S_FALSE);
    ASSERT_TRUE(Happened());
    EXPECT_EQ(head->GetFormat(9, format.Put()), S_OK);
}

TEST_P(OvertakenFetch, AttributeTypes) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    Edit().AddAttributeType("Pump", "Head", "Inches");
    EditInside("ILXAttributeTypeEnum::RemNext", GetParam(), [&] { Edit().AddAttributeType("Pump", "Head", "Yards"); });
    XLXComPtr<ILXAttributeTypeEnum> types;
    EXPECT_EQ(head->GetAttributeTypeEnum(types.Put()), S_OK);
    ASSERT_TRUE(Happened());
    EXPECT_EQ(head->GetAttributeTypeEnum(types.Put()), S_OK);
    EXPECT_EQ(LXReadAll<ILXAttributeType>(types, XProperty::AttributeTypeName),
              (std::vector<std::string>{"Feet", "Inches", "Metres", "Yards"}));
}

TEST_P(OvertakenFetch, NegativeTypeAnswer) {
    ASSERT_EQ(Start(), S_OK);
    EditInside("ILXConfigFactoryEx::GetTypeArrayByTypeNameEx", GetParam(), [&] { Edit().AddType("Valve", "Item"); });
    XLXComPtr<ILXType> type;
    const XLXComBSTR name(OLESTR("Valve"));
    Factory()->GetType(name.Get(), nullptr, type.Put());
    ASSERT_TRUE(Happened());
    EXPECT_EQ(Factory()->GetType(name.Get(), nullptr, type.Put()), S_OK);
}

INSTANTIATE_TEST_SUITE_P(NotificationThread, OvertakenFetch, testing::Bool(),
                         [](const auto& test) { return test.param ? "Other" : "Same"; });

TEST_F(Races, ABaseThatIsInvalidatedWhileADerivedTypeMergesIt) {
    ASSERT_EQ(Start(0), S_OK);
    LXRead(Attribute("Item", "Name").Get(), 0);
    // While the pump's own attributes are being fetched, the base changes and is completed on its own.
    EditInside("ILXType::GetTypeComponentData", true, [&] {
        Edit().AddAttribute("Item", "Colour");
        EXPECT_EQ(LXRead(Attribute("Item", "Colour").Get(), 0), OLESTR("Colour"));
    });
    LXRead(Attribute("Equipment", "Power").Get(), 0);
    ASSERT_TRUE(Happened());
    EXPECT_EQ(LXRead(Attribute("Equipment", "Colour").Get(), 0), OLESTR("Colour"));
    EXPECT_EQ(LXRead(Attribute("Pump", "Colour").Get(), 0), OLESTR("Colour"));
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

TEST_F(Races, ReadersGoOnWhileANotificationWaitsForAServerThatFetches) {
    ASSERT_EQ(Start(0), S_OK);
    LXRead(Type("Document").Get(), 0);
    auto gate = Calls().PauseAt("ILXType::GetTypeComponentData");
    auto fetch = std::async(std::launch::async, [&] { return Attribute("Pump", "Head"); });
    gate.WaitUntilArrived();
    EXPECT_EQ(Edit().SetAttributeProperty("Document", "Title", XProperty::Label, "Heading").result, S_OK);
    EXPECT_EQ(LXRead(Type("Document").Get(), 0), OLESTR("Document"));
    gate.Open();
    EXPECT_EQ(LXRead(fetch.get().Get(), 0), OLESTR("Head"));
}

TEST_F(Races, TerminateWhileReadersAndNotificationsRun) {
    ASSERT_EQ(Start(0), S_OK);
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            const XLXComBSTR name(OLESTR("Pump"));
            for (int round = 0; !stop.load(); ++round) {
                XLXComPtr<ILXType> type;
                XLXComPtr<ILXAttributeEnum> attributes;
                if (Factory()->GetType(name.Get(), nullptr, type.Put()) == S_OK) {
                    type->GetAttributeEnum(attributes.Put());
                }
                if (i == 0) { Edit().SetAttributeProperty("Item", "Name", XProperty::Label, std::to_string(round)); }
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(Client()->Terminate(), S_OK);
        EXPECT_EQ(Start(0), S_OK);
    }
    stop.store(true);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), 0), OLESTR("Head"));
}

TEST_F(Races, EveryReaderSeesAValueThatTheServerHadAndTheNewestInTheEnd) {
    ASSERT_EQ(Start(1), S_OK);
    std::atomic<int> newest{0};
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    Edit().SetAttributeProperty("Item", "Name", XProperty::Label, "0");
    const auto name = Attribute("Pump", "Name");
    std::vector<std::thread> readers;
    for (int i = 0; i < 8; ++i) {
        readers.emplace_back([&] {
            while (!stop.load()) {
                const int value = std::stoi(LXNarrow(LXRead(name.Get(), XProperty::Label)));
                wrong += value > newest.load() + 1 ? 1 : 0;
                const auto attribute = Attribute("Equipment", "Name");
                wrong += std::stoi(LXNarrow(LXRead(attribute.Get(), XProperty::Label))) > newest.load() + 1 ? 1 : 0;
            }
        });
    }
    for (int value = 1; value <= 200; ++value) {
        Edit().SetAttributeProperty("Item", "Name", XProperty::Label, std::to_string(value));
        newest.store(value);
        EXPECT_EQ(LXRead(name.Get(), XProperty::Label), XLXText(XLXFormat() << LONG{value}));
    }
    stop.store(true);
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
}

// SPDX-License-Identifier: MIT
//
// Reads during writes to the same object, a notification that overtakes a start, and concurrent first queries.
// tests/reliability/test_freshload.cpp has notifications inside all other calls.
#include "inside.h"

using Races = CacheTest;

// Empty members are set, and become empty again when the server's values are read. Readers of other members must not
// notice.
TEST_F(Races, MembersAreSetWhileOthersAreRead) {
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

TEST_F(Races, AStartThatIsOvertaken) {
    for (const bool onOtherThread : {false, true}) {
        const std::string label = onOtherThread ? "other" : "same";
        const auto edit = [&] {
            Edit().AddType(label, "Item");
            Edit().AddAttribute("Item", "Colour " + label);
            Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, label);
            Edit().SetTypeProperty("Pump", XProperty::TypeLabel, label);
        };
        {
            const Inside overtaken(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                                   [&] { onOtherThread ? std::async(std::launch::async, edit).get() : edit(); });
            ASSERT_EQ(Start(), S_OK);
        }
        EXPECT_EQ(LXNarrow(LXRead(Type(label.c_str()).Get(), 0)), label);
        EXPECT_TRUE(Attribute("Pump", ("Colour " + label).c_str()));
        EXPECT_EQ(LXNarrow(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label)), label);
        EXPECT_EQ(LXNarrow(LXRead(Type("Pump").Get(), XProperty::TypeLabel)), label);
        Terminate();
    }
}

TEST_F(Races, ConcurrentFirstQueriesFetchOncePerType) {
    ASSERT_EQ(Start(0), S_OK);
    Calls().Reset();
    {
        auto gate = Calls().PauseAt("ILXType::GetTypeComponentData");
        const auto attributes = std::async(std::launch::async, [&] { Attribute("Pump", "Power"); });
        gate.WaitUntilArrived();
        const auto group = std::async(std::launch::async, [&] { Group("Pump", 7); });
        const auto again = std::async(std::launch::async, [&] { Attribute("Pump", "Head"); });
        gate.Open();
    }
    EXPECT_LE(Calls().Of("ILXType::GetTypeComponentData"), 4u); // Pump, its two bases, and the pump's groups
}

// SPDX-License-Identifier: MIT
//
// Refills, which read stale values in bulk: their calls, the data that they do not touch, and that they never replace
// newer data.
#include "XRefill.h"
#include "inside.h"
#include "relationfixture.h"

#include <array>

namespace {
constexpr const char* ComponentsCall = "ILXType::GetTypeComponentData";
constexpr const char* TypesCall = "ILXConfigFactoryEx::GetTypeArrayEx";
constexpr int Unit = XProperty::Unit;
constexpr int Unset = 55;

/// The calls that a piece of work makes: for values of one object, for components of one type, for all types.
using Calls3 = std::array<unsigned long long, 3>;

/// Types with three attributes and two pages each; their number is such that three stale ones cause a read of all.
XServerModel ManyTypes(int types = 36) {
    XServerModel model;
    for (int i = 0; i < types; ++i) {
        XModelType& type = model.AddType(LXFromUtf8("T" + std::to_string(i)));
        for (const char* name : {"A", "B", "C"}) {
            XModelAttribute& attribute = type.AddAttribute(name, 1);
            attribute.properties.Set(Unit, "old");
            attribute.AddType("Metres");
        }
        type.AddPage(1, "One");
        type.AddPage(2, "Two");
    }
    return model;
}

class Refills : public CacheTest {
protected:
    explicit Refills(XServerModel model = ManyTypes()) : CacheTest(std::move(model)) { SetRefill("always"); }

    void StartAndRead(LONG mode = 15) {
        ASSERT_EQ(Start(mode), S_OK);
        for (const char* type : {"T0", "T1", "T2", "T3"}) {
            ReadAll(type, "old");
            ReadPages(type);
        }
    }
    void ReadAll(const char* type, const char* expected) {
        for (const char* name : {"A", "B", "C"}) {
            EXPECT_EQ(UnitOf(type, name), expected) << type << "." << name;
        }
    }
    void ReadPages(const char* type) {
        for (int number : {1, 2}) {
            const auto page = LXGet(Type(type), &ILXType::GetPage, number);
            EXPECT_EQ(LXNarrow(LXRead(page.Get(), XProperty::PageNumber)), std::to_string(number));
        }
    }
    std::string UnitOf(const char* type, const char* name) {
        return LXNarrow(LXRead(Attribute(type, name).Get(), Unit));
    }
    void Change(const char* type, const char* value) {
        for (const char* name : {"A", "B", "C"}) {
            Edit().SetAttributeProperty(type, name, Unit, value);
        }
        m_server->SendNotification("properties/x/0/1"); // makes all values stale, but no set
    }
    Calls3 Made(const std::function<void()>& work) {
        const XCallCounts before = Calls().Counts();
        work();
        const XCallCounts made = Calls().Counts().Since(before);
        const auto bulk = made.Of(ComponentsCall) + made.Of(TypesCall);
        return {made.Total() - made.Of("ILX_BaseDataObject::GetTypeName") - bulk, made.Of(ComponentsCall),
                made.Of(TypesCall)};
    }
};

TEST_F(Refills, TheSecondStaleObjectOfATypeReadsTheType) {
    StartAndRead();
    const auto held = Attribute("T0", "C");
    Change("T0", "new");
    EXPECT_EQ(Made([&] { EXPECT_EQ(UnitOf("T0", "A"), "new"); }), (Calls3{1, 0, 0}));
    EXPECT_EQ(Made([&] { EXPECT_EQ(UnitOf("T0", "B"), "new"); }), (Calls3{0, 1, 0}));
    EXPECT_EQ(Made([&] { EXPECT_EQ(LXNarrow(LXRead(held.Get(), Unit)), "new"); }), (Calls3{}));
    EXPECT_EQ(Made([&] { ReadPages("T0"); }), (Calls3{})) << "pages were as stale as attributes";
    EXPECT_TRUE(Attribute("T0", "C") == held);
    EXPECT_EQ(Made([&] { EXPECT_EQ(LXRead(held.Get(), Unset), OLESTR("<empty>")); }), (Calls3{1, 0, 0}))
        << "an empty value is asked for object by object";
}

TEST_F(Refills, ManyStaleTypesReadAllTypes) {
    StartAndRead();
    Change("T3", "new");
    EXPECT_EQ(Made([&] { ReadAll("T0", "old"); }), (Calls3{1, 1, 0}));
    EXPECT_EQ(Made([&] { ReadAll("T1", "old"); }), (Calls3{1, 1, 0}));
    EXPECT_EQ(Made([&] { ReadAll("T2", "old"); }), (Calls3{1, 0, 1}));
    EXPECT_EQ(Made([&] {
                  ReadAll("T3", "new");
                  ReadPages("T3");
              }),
              (Calls3{}));
}

TEST_F(Refills, UnparsedRecordsAreReadWithAllOthers) {
    ASSERT_EQ(Start(), S_OK);
    Change("T3", "new"); // before anything was parsed
    const auto read = [&](const char* type, const char* expected) {
        return Made([&] {
            ReadAll(type, expected);
            ReadPages(type);
        });
    };
    EXPECT_EQ(read("T0", "old"), (Calls3{0, 1, 0})) << "one call for all kinds";
    EXPECT_EQ(read("T1", "old"), (Calls3{0, 1, 0}));
    EXPECT_EQ(read("T2", "old"), (Calls3{0, 0, 1}));
    EXPECT_EQ(read("T3", "new"), (Calls3{}));
    Edit().AddAttribute("T4", "D", 1);
    EXPECT_EQ(UnitOf("T4", "A"), "old");
    EXPECT_EQ(LXRead(Attribute("T4", "D").Get(), XProperty::AttributeName), OLESTR("D"));
}

TEST_F(Refills, EachNotificationStartsOver) {
    StartAndRead();
    for (const char* value : {"one", "two"}) {
        Change("T0", value);
        EXPECT_EQ(Made([&] { ReadAll("T0", value); }), (Calls3{1, 1, 0})) << value;
    }
    LXNotifyStraight(Type("T0"), "properties/T0/0/1");
    EXPECT_EQ(Made([&] { ReadAll("T0", "two"); }), (Calls3{1, 1, 0})) << "straight to the type";
}

TEST_F(Refills, ReadOnlyTheKindsOfTheTransferMode) {
    StartAndRead(1);
    Change("T0", "new");
    EXPECT_EQ(Made([&] { ReadPages("T0"); }), (Calls3{2, 0, 0}));
    EXPECT_EQ(Made([&] { ReadAll("T0", "new"); }), (Calls3{1, 1, 0}));
}

TEST_F(Refills, AFailedBulkReadFallsBackToSingleReads) {
    StartAndRead();
    Change("T0", "new");
    Calls().FailCall(ComponentsCall, E_ABORT);
    EXPECT_EQ(Made([&] { ReadAll("T0", "new"); }), (Calls3{3, 1, 0}));
    LXErrorInformation::Take();
    EXPECT_EQ(Made([&] { ReadAll("T0", "new"); }), (Calls3{}));
}

TEST_F(Refills, AQueryFromInsideOneDoesNotWait) {
    StartAndRead();
    Change("T0", "new");
    EXPECT_EQ(UnitOf("T0", "A"), "new");
    Inside asked(Calls(), ComponentsCall, [&] {
        EXPECT_EQ(UnitOf("T0", "C"), "new");
        std::async(std::launch::async, [&] { EXPECT_EQ(UnitOf("T0", "B"), "new"); }).get();
    });
    ReadAll("T0", "new");
}

// The server recreates the type, and a held page makes the former type read. Its answer is parsed after that of the new
// one.
TEST_F(Refills, AFormerTypeDoesNotRefillWhatTheNewOneReturned) {
    StartAndRead();
    const auto label = [&](int number) {
        return LXNarrow(LXRead(LXGet(Type("T0"), &ILXType::GetPage, number).Get(), XProperty::PageLabel));
    };
    const auto first = LXGet(Type("T0"), &ILXType::GetPage, 1);
    const auto second = LXGet(Type("T0"), &ILXType::GetPage, 2);
    const auto remake = [](XServerModel& model) {
        model.types.erase(OLESTR("T0"));
        XModelType& made = model.AddType("T0");
        made.AddPage(1, "new");
        made.AddPage(2, "new");
    };
    Edit().Change(remake, "objects/T0/0/2");
    LXRead(first.Get(), XProperty::PageLabel);
    {
        const Inside read(Calls(), ComponentsCall, [&] {
            std::async(std::launch::async, [&] { EXPECT_EQ(label(1) + label(2), "newnew"); }).get();
        });
        LXRead(second.Get(), XProperty::PageLabel);
    }
    EXPECT_EQ(label(1) + label(2), "newnew");
}

TEST_F(Refills, LeaveSetsUnchanged) {
    StartAndRead();
    const auto removed = Attribute("T0", "B");
    Edit().RemoveAttribute("T0", "B", XNotify::No);
    Edit().AddAttribute("T0", "D", 1, XNotify::No);
    Edit().AddAttributeType("T0", "A", "Feet", XNotify::No);
    Change("T1", "new"); // makes the values of all types stale
    EXPECT_EQ(UnitOf("T0", "A"), "old");
    EXPECT_EQ(Made([&] { EXPECT_EQ(UnitOf("T0", "C"), "old"); }), (Calls3{0, 1, 0}));
    EXPECT_TRUE(Attribute("T0", "B") == removed);
    XLXComVariant lacking; // the bulk read has no value for it
    EXPECT_EQ(Made([&] { removed->GetProperty(XProperty::Unit, lacking.Put()); }), (Calls3{1, 0, 0}));
    EXPECT_FALSE(Has(Type("T0"), "D"));
}

TEST_F(Refills, DisplayEnumerationsAndAttributeTypes) {
    StartAndRead();
    const auto attribute = Attribute("T0", "A");
    const auto metres = LXElements(LXGet(attribute, &ILXAttribute::GetAttributeTypeEnum)).at(0);
    Edit().SetAttributeTypeProperty("T0", "A", "Metres", 1, "short");
    Change("T0", "new");
    EXPECT_EQ(Made([&] { LXResult(Type("T0"), &ILXType::GetDisplayAttributeEnum, 1); }), (Calls3{1, 1, 0}));
    EXPECT_EQ(Made([&] { EXPECT_EQ(LXRead(metres.Get(), 1), OLESTR("short")); }), (Calls3{}));
}

TEST_F(Refills, ACheapServerIsAskedObjectByObject) {
    const auto costs = [](std::initializer_list<int> microseconds) {
        SetRefill("by cost");
        XCallCosts recent;
        for (const int cost : microseconds) {
            recent.Note(std::chrono::microseconds(cost));
        }
        return recent.AreHigh();
    };
    EXPECT_FALSE(costs({}));
    EXPECT_FALSE(costs({5000, 5000})) << "too few calls";
    EXPECT_TRUE(costs({900, 900, 900}));
    EXPECT_FALSE(costs({5, 5000, 5, 5000, 5})) << "the median counts";
    EXPECT_FALSE(costs({900, 900, 900, 900, 900, 5, 5, 5, 5, 5})) << "only recent calls count";

    SetRefill("by cost");
    Calls().SetDelay(std::chrono::milliseconds(1));
    StartAndRead(); // measures the cost of a call
    Change("T0", "new");
    EXPECT_EQ(Made([&] { ReadAll("T0", "new"); }), (Calls3{1, 1, 0}));
}

class RelationRefills : public RelationTest {
protected:
    RelationRefills() { SetRefill("always"); }
};

TEST_F(RelationRefills, TheSecondStaleRelationReadsAll) {
    const Relation held[] = {Single("Node", "Desk", "nodes"), Single("Node", "Room", "nodes"),
                             Single("Area", "Desk", "parts")};
    const auto read = [&](int at) { return LXNarrow(LXRead(held[at].Get(), LXRM_CHILDNAME)); };
    EXPECT_EQ(read(0), "Desk");
    m_server->SendNotification("properties/x/0/4");
    ExpectCalls(1, [&] { EXPECT_EQ(read(0), "Desk"); });
    const XCallCounts before = Calls().Counts();
    EXPECT_EQ(read(1), "Room");
    EXPECT_EQ(Calls().Counts().Since(before).Of("ILXConfigFactory::GetPCArray"), 1u);
    ExpectCalls(0, [&] { EXPECT_EQ(read(2), "Desk"); });
}
} // namespace

// SPDX-License-Identifier: MIT
//
// Types, their components and attributes: answers that a notification overtook, answers of former server
// objects, and notifications that concern something else.
#include "inside.h"
#include "passingtype.h"

#include <barrier>

namespace
{
class FreshTypes : public CacheTest
{
protected:
    using CacheTest::CacheTest;
    using Texts = std::vector<std::string>;

    static HRESULT Format(const XLXComPtr<ILXAttribute>& attribute, int formatType)
    {
        XLXComPtr<ILXFormat> format;
        return attribute->GetFormat(formatType, format.Put());
    }
    static HRESULT Format(const XLXComPtr<ILXGroup>& group)
    {
        XLXComPtr<ILXFormat> format;
        return group->GetFormat(format.Put());
    }
    static Texts Pages(const XLXComPtr<ILXType>& type)
    {
        XLXComPtr<ILXPageEnum> pages;
        type->GetPageEnum(pages.Put());
        return LXReadAll<ILXPage>(pages, XProperty::PageNumber);
    }
    static XLXComPtr<ILXAttributeTypeEnum> AttributeTypes(const XLXComPtr<ILXAttribute>& attribute)
    {
        XLXComPtr<ILXAttributeTypeEnum> types;
        EXPECT_EQ(attribute->GetAttributeTypeEnum(types.Put()), S_OK);
        return types;
    }
    XLXText ItemsNameThrough(const char* type)
    {
        return LXRead(Attribute(type, "Name").Get(), XProperty::Label);
    }
};

XServerModel WideModel()
{
    XServerModel model;
    XModelType& base = model.AddType("Base");
    for (int i = 0; i < 20; ++i)
    {
        base.AddAttribute("A" + std::to_string(i));
    }
    model.AddType("Derived", "Base").AddAttribute("Own");
    return model;
}

class WideBase : public FreshTypes
{
protected:
    WideBase() : FreshTypes(WideModel()) {}
};

TEST_F(WideBase, EveryReaderOfADerivedTypeSeesTheBaseAttributeThatWasNotified)
{
    constexpr int readers = 4;
    ASSERT_EQ(Start(0), S_OK);
    const auto base = Type("Base");
    const auto derived = Type("Derived");
    std::barrier turn(readers + 1);
    std::atomic<int> missed{0};
    XLXText name; // of the newest attribute; written between two turns
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < readers; ++i)
    {
        threads.emplace_back([&] {
            for (turn.arrive_and_wait(); !stop.load(); turn.arrive_and_wait())
            {
                for (int question = 0; question < 20; ++question)
                {
                    XLXComPtr<ILXAttribute> found;
                    missed += derived->GetAttribute(XLXComBSTR(name).Get(), found.Put()) != S_OK ? 1 : 0;
                }
                turn.arrive_and_wait();
            }
        });
    }
    for (int round = 0; round < 500 && missed == 0; ++round)
    {
        const std::string text = "X" + std::to_string(round);
        Edit().AddAttribute("Base", text, 0, XNotify::No);
        name = LXFromUtf8(text);
        LXNotifyStraight(base, OLESTR("objects/Base/0/512"));
        turn.arrive_and_wait();
        turn.arrive_and_wait();
        Edit().RemoveAttribute("Base", text, XNotify::No);
    }
    stop = true;
    turn.arrive_and_wait();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(missed, 0) << "answers without " << LXNarrow(name);
    Terminate();
}

TEST_F(FreshTypes, ValuesOfAttributeTypesThatChangeWhileTheyAreEnumerated)
{
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    m_server->SendNotification("objects/Pump/0/1024"); // the attribute that is held enumerates them anew
    {
        const Inside overtaken(Calls(), "ILXAttributeType::GetProperties", [&] {
            for (const char* name : {"Metres", "Feet"})
            {
                Edit().SetAttributeTypeProperty("Pump", "Head", name, XProperty::AttributeTypeLabel, "new");
            }
        });
        AttributeTypes(head);
    }
    EXPECT_EQ(LXReadAll<ILXAttributeType>(AttributeTypes(head), XProperty::AttributeTypeLabel),
              (Texts{"new", "new"}));
    Terminate();
}

TEST_F(FreshTypes, ARemovedAttributeTypeGoesAndAnotherOneStaysTheSameObject)
{
    for (const LONG mode : {0, 15})
    {
        SCOPED_TRACE("mode " + std::to_string(mode));
        ASSERT_EQ(Start(mode), S_OK);
        const auto head = Attribute("Pump", "Head");
        const auto types = AttributeTypes(head); // Feet, Metres
        XLXComPtr<ILXAttributeType> metres;
        ASSERT_TRUE(types && types->Skip(1) == S_OK && types->GetSingleNext(metres.Put()) == S_OK);
        Edit().RemoveAttributeType("Pump", "Head", "Feet");
        EXPECT_EQ(Attribute("Pump", "Head"), head); // delivers all types of the attribute
        XLXComPtr<ILXAttributeType> left;
        ASSERT_EQ(AttributeTypes(head)->GetSingleNext(left.Put()), S_OK);
        EXPECT_EQ(left, metres);
        EXPECT_EQ(LXReadAll<ILXAttributeType>(AttributeTypes(head), XProperty::AttributeTypeName),
                  Texts{"Metres"});
        Terminate();
        Edit().AddAttributeType("Pump", "Head", "Feet");
    }
}

TEST_F(FreshTypes, PagesLoadedThroughAFormerServerObjectAreStale)
{
    ASSERT_EQ(Start(1), S_OK); // no pages in bulk
    const auto document = Type("Document");
    EXPECT_EQ(Pages(document), Texts{});
    Edit().RemoveType("Document", XNotify::No);
    Edit().AddType("Document", "", XNotify::No);
    Edit().AddPage("Document", 5, XNotify::No);
    m_server->SendNotification("objects/Document/0/2");
    Pages(document); // nobody has reloaded the types yet: the former object is asked
    EXPECT_EQ(Type("Document"), document);
    EXPECT_EQ(Pages(document), Texts{"5"});
    Terminate();
}

TEST_F(FreshTypes, FormatsLoadedThroughAFormerServerObjectAreStale)
{
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    const auto group = Group("Pump", 7);
    Edit().RemoveAttribute("Pump", "Head", XNotify::No);
    Edit().AddAttribute("Pump", "Head", 3, XNotify::No);
    Edit().AddAttributeFormat("Pump", "Head", 9, XNotify::No);
    Edit().RemoveGroup("Pump", 7, XNotify::No);
    Edit().AddGroup("Pump", 7, 1, 0, XNotify::No);
    m_server->SendNotification("objects/Pump/0/2");
    for (const int formatType : {1, 9}) // the former objects are asked
    {
        Format(head, formatType);
    }
    Format(group);
    EXPECT_EQ(Attribute("Pump", "Head"), head);
    EXPECT_EQ(Group("Pump", 7), group);
    EXPECT_EQ(Format(head, 1), S_FALSE);
    EXPECT_EQ(Format(head, 9), S_OK);
    EXPECT_EQ(Format(group), S_FALSE);
    Terminate();
}

// The records carry no attribute objects, so the server is asked for each of them while they are parsed.
TEST_F(FreshTypes, OvertakenRecordsDoNotCountAsReadWhileTheyAreParsed)
{
    const XLXComPtr<HostileFactory> factory(new HostileFactory(m_server->ConfigFactory()));
    factory->types = [&](SAFEARRAY** out) {
        return PassingType::WrapTypes(*m_server->ConfigFactory().Get(), out);
    };
    auto arguments = Arguments(0, false, false);
    arguments[0] = XLXComVariant::FromUnknown(static_cast<ILXConfigFactory*>(factory.Get()));
    ASSERT_EQ(Initialize(std::move(arguments)), S_OK);
    const auto held = Attribute("Item", "Name");
    m_server->SendNotification("objects/Item/0/512");
    bool overtaken = false;
    int asked = 0; // attribute objects since then
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXType::GetTypeComponentData" && call.point == XCallPoint::Answer && !overtaken)
        {
            overtaken = true;
            Edit().SetAttributeProperty("Item", "Name", XProperty::Label, "new");
        }
        else if (call.name == "ILXType::GetAttribute" && call.point == XCallPoint::Arrival && overtaken &&
                 ++asked == 2)
        {
            // Now for "Weight"; "Name" has been taken from its record.
            EXPECT_EQ(LXRead(held.Get(), XProperty::Label), OLESTR("new"));
        }
    });
    Attribute("Item", "Weight");
    Calls().SetHook({});
    EXPECT_GE(asked, 2);
    EXPECT_EQ(LXRead(held.Get(), XProperty::Label), OLESTR("new"));
    Terminate();
}

TEST_F(FreshTypes, ANotificationOfSomethingElseDuringTheFirstBulkReadSpoilsNothing)
{
    for (const char* id : {"pc/x/0/4", "properties/x/0/128"})
    {
        SCOPED_TRACE(id);
        {
            const Inside unrelated(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                                   [&] { m_server->SendNotification(id); });
            ASSERT_EQ(Start(), S_OK);
        }
        ExpectCalls(0, [&] {
            EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeName), OLESTR("Pump"));
            EXPECT_EQ(ItemsNameThrough("Pump"), OLESTR("Name of the item"));
            EXPECT_EQ(LXRead(Group("Item", 1).Get(), XProperty::GroupLabel), OLESTR("Main"));
            EXPECT_EQ(Pages(Type("Item")), (Texts{"1", "2"}));
        });
        Terminate();
    }
}

TEST_F(FreshTypes, ANotificationStraightToAnotherObjectSpoilsNothing)
{
    ASSERT_EQ(Start(), S_OK);
    const auto former = Type("Document");
    Terminate();
    {
        const Inside elsewhere(Calls(), "ILXConfigFactoryEx::GetTypeArrayEx",
                               [&] { LXNotifyStraight(former, OLESTR("objects/Document/0/1")); });
        ASSERT_EQ(Start(), S_OK);
    }
    ExpectCalls(0, [&] { EXPECT_EQ(ItemsNameThrough("Item"), OLESTR("Name of the item")); });
    LXNotifyStraight(Type("Document"), OLESTR("objects/Document/0/1"));
    ExpectCalls(0, [&] { EXPECT_EQ(ItemsNameThrough("Pump"), OLESTR("Name of the item")); });
    Terminate();
}
} // namespace

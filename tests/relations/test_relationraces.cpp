// SPDX-License-Identifier: MIT
//
// Requests for relations and registries with concurrent notifications.
#include "relationfixture.h"

#include <atomic>
#include <future>

class RelationRaces : public RelationTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }
    void TearDown() override { Terminate(); }

    /// Holds a request's call to the server after the answer was created, edits the model, and expects that the edit's
    /// notification does not wait.
    void Overtake(const char* method, const std::function<void()>& question,
                  const std::function<XNotification()>& edit) {
        auto gate = Calls().PauseAt(method, XCallPoint::Answer);
        auto asked = std::async(std::launch::async, question);
        gate.WaitUntilArrived();
        auto edited = std::async(std::launch::async, edit);
        EXPECT_EQ(edited.wait_for(std::chrono::seconds(10)), std::future_status::ready) << method;
        gate.Open();
        EXPECT_EQ(edited.get().result, S_OK) << method;
        asked.get();
    }
    std::size_t Specs() {
        XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
        Factory()->GetAllGlobalAttributeFormatSpecs(specs.Put());
        return LXReadAll<ILXGlobalAttributeFormatSpec>(specs, 0).size();
    }
    HRESULT IsPlan(const char* type) { return m_cache->IsPlantype(m_server->DataObject(type).Get()); }
};

TEST_F(RelationRaces, AnOvertakenAnswerIsNotKept) {
    m_server->SendNotification("pc/x/0/4");
    Overtake(
        "ILXConfigFactory::GetPCArray", [&] { Below("Node"); },
        [&] { return Edit().AddRelation("Node", "Area", "late"); });
    EXPECT_EQ(Below("Node"), (Names{"Area/late", "Desk/nodes", "Room/nodes"}));

    m_server->SendNotification("pc/x/0/4");
    Overtake(
        "ILXConfigFactory::GetPCArray", [&] { Below("Node"); },
        [&] {
            Edit().SetRelationProperty("Node", "Area", "late", XProperty::NameShort, "new", XNotify::No);
            return m_server->SendNotification("properties/x/0/4"); // the map stays fresh, the values do not
        });
    EXPECT_EQ(LXRead(Single("Node", "Area", "late").Get(), XProperty::NameShort), OLESTR("new"));

    Overtake(
        "ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", [&] { Specs(); },
        [&] { return Edit().AddGlobalSpec("Late"); });
    EXPECT_EQ(Specs(), 1u);

    Overtake(
        "ILX_BaseDataObject::GetAttribute", [&] { IsPlan("Plan"); },
        [&] {
            return Edit().Change(
                [](XServerModel& m) { m.objects.at(OLESTR("plan"))->attributes[OLESTR("configtypename")] = "New"; },
                "pc/x/0/4");
        });
    EXPECT_EQ(IsPlan("New"), S_OK);

    Overtake(
        "ILXBrowserId::GetProperties",
        [&] {
            XLXComPtr<ILXBrowserIdEnum> ids;
            EXPECT_EQ(Factory()->GetBrowserIdEnum(ids.Put()), S_OK);
        },
        [&] { return Edit().SetBrowserIdProperty("Tree", 1, "Label"); });
    XLXComPtr<ILXBrowserIdEnum> ids;
    EXPECT_EQ(Factory()->GetBrowserIdEnum(ids.Put()), S_OK);
    EXPECT_EQ(LXReadAll<ILXBrowserId>(ids, 1), (Names{"", "Label"}));
}

TEST_F(RelationRaces, QuestionsNotificationsAndTerminationAtOnce) {
    std::atomic<bool> end{false};
    std::vector<std::thread> threads;
    const auto run = [&](auto work) {
        threads.emplace_back([&end, work] {
            while (!end) {
                work();
            }
        });
    };
    const auto cache = m_cache;
    const auto area = B("Area");
    const auto ask = [&](LONG filter) {
        Enum relations;
        const HRESULT result = cache->GetPCEnumAll(nullptr, area.Get(), nullptr, filter, relations.Put());
        EXPECT_TRUE(result == S_OK || result == S_FALSE || result == E_POINTER) << result;
        Listed(relations);
    };
    run([&] { ask(0); });
    run([&] { ask(1 | 2); });
    run([&] {
        LONG count = 0;
        BSTR* names = nullptr;
        cache->GetAllDerivedTypes(area.Get(), &count, &names);
        for (LONG i = 0; i < count; ++i) {
            SysFreeString(names[i]);
        }
        CoTaskMemFree(names);
        Specs();
    });
    run([&] { IsPlan("Plan"); });
    for (int i = 0; i < 60; ++i) {
        Edit().AddRelation("Area", "Room", "list" + std::to_string(i));
        m_server->SendNotification(i % 2 == 0 ? "objects/x/0/1" : "properties/x/0/12");
    }
    EXPECT_EQ(Below("Area").size(), 64u);
    EXPECT_EQ(cache.As<IDPFObject>()->Terminate(), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    end = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

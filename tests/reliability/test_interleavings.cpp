// SPDX-License-Identifier: MIT
//
// Deterministic interleavings, arranged with gates and hooks of the server. docs/reliability.md lists them, including
// those in other suites.
#include "clientlife.h"

#include <barrier>
#include <future>

class Interleavings : public CacheTest {
protected:
    Interleavings() : CacheTest(LXLifeModel()) {}

    void TearDown() override {
        Calls().SetHook({});
        Terminate();
    }

    /// Runs work in many threads that start together.
    template <class Work> static void AtOnce(int threads, Work&& work) {
        std::barrier start(threads);
        std::vector<std::future<void>> running;
        for (int i = 0; i < threads; ++i) {
            running.push_back(std::async(std::launch::async, [&, i] {
                start.arrive_and_wait();
                work(i);
            }));
        }
        for (auto& thread : running) {
            thread.get();
        }
    }
    static bool Ends(const std::future<void>& work) {
        return work.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }
    std::vector<std::string> BrowserIds() {
        XLXComPtr<ILXBrowserIdEnum> ids;
        Factory()->GetBrowserIdEnum(ids.Put());
        return LXReadAll<ILXBrowserId>(ids, 0);
    }
};

TEST_F(Interleavings, FirstQueriesOfTwoKindsInTheDefaultMode) {
    ASSERT_EQ(Start(1), S_OK);
    m_server->SendNotification("objects/x/0/1");
    const auto type = Type("Pump");
    auto gate = Calls().PauseAt("ILXType::GetTypeComponentData");
    const auto group = std::async(std::launch::async, [&] { return Group("Pump", 7); });
    gate.WaitUntilArrived();
    const auto attribute = std::async(std::launch::async, [&] { return Attribute("Pump", "Head"); });
    gate.Open();
    group.wait();
    attribute.wait();
}

TEST_F(Interleavings, TerminationPassesQuestionsThatWaitForTheServer) {
    for (const char* method : {"ILXConfigFactory::GetPCArray", "ILXConfigFactoryEx::GetTypeArrayEx"}) {
        ASSERT_EQ(Start(1), S_OK);
        m_server->SendNotification("objects/x/0/1");
        auto gate = Calls().PauseAt(method, XCallPoint::Answer);
        auto relations = std::async(std::launch::async, [&] {
            XLXComPtr<ILXParentChildEnum> answer;
            const XLXComBSTR name(OLESTR("Equipment"));
            const HRESULT result = m_cache->GetPCEnum2(nullptr, name.Get(), nullptr, 0, answer.Put());
            EXPECT_TRUE(result == S_OK || result == S_FALSE || result == E_POINTER) << result;
        });
        auto types = std::async(std::launch::async, [&] {
            XLXComPtr<ILXTypeEnum> answer;
            const HRESULT result = Factory()->GetTypeEnum(nullptr, answer.Put());
            EXPECT_TRUE(result == S_OK || result == S_FALSE || result == E_POINTER) << result;
        });
        gate.WaitUntilArrived();
        m_server->SendNotification("objects/x/0/1");
        auto ended = std::async(std::launch::async, [&] { Terminate(); });
        EXPECT_TRUE(Ends(ended)) << method;
        gate.Open();
        EXPECT_TRUE(Ends(relations) && Ends(types)) << method;
    }
    ASSERT_EQ(Start(1), S_OK);
    EXPECT_EQ(LXRead(Type("Pump").Get(), XProperty::TypeName), OLESTR("Pump"));
}

TEST_F(Interleavings, FirstDisplayFactsThroughDerivedAndBaseTypes) {
    ASSERT_EQ(Start(), S_OK);
    Edit().SetAttributeProperty("Item", "Weight", XProperty::ShowInEditor, true);
    const std::vector<XLXComPtr<ILXType>> types{Type("Pump"), Type("Equipment"), Type("Item")};
    for (int round = 0; round < 20; ++round) {
        m_server->SendNotification("properties/x/0/512"); // makes the facts stale
        AtOnce(8, [&](int i) {
            XLXComPtr<ILXAttributeEnum> shown;
            EXPECT_EQ(types[static_cast<std::size_t>(i) % types.size()]->GetDisplayAttributeEnum(1, shown.Put()), S_OK);
            EXPECT_EQ(LXReadAll<ILXAttribute>(shown, 0), std::vector<std::string>{"Weight"});
        });
    }
}

TEST_F(Interleavings, FirstBrowserIdsWhileANotificationWalks) {
    ASSERT_EQ(Start(), S_OK);
    Calls().Reset();
    auto gate = Calls().PauseAt("ILXBrowserId::GetProperties", XCallPoint::Answer);
    auto readers = std::async(std::launch::async, [&] {
        AtOnce(8, [&](int) { EXPECT_EQ(BrowserIds(), std::vector<std::string>{"Tree"}); });
    });
    gate.WaitUntilArrived();
    auto notified = std::async(std::launch::async, [&] { m_server->SendNotification("objects/x/0/8"); });
    EXPECT_TRUE(Ends(notified));
    gate.Open();
    readers.get();
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetBrowserIdEnum"),
              1u); // the notification concerns only their values
}

TEST_F(Interleavings, AFormatInAStormOfNotifications) {
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    Calls().SetHook([&](const XServerCall& call) { // every fetch is overtaken
        if (call.name == "ILXAttribute::GetFormat" && call.point == XCallPoint::Answer) {
            m_server->SendNotification("objects/Pump/0/2048");
        }
    });
    AtOnce(4, [&](int) {
        const auto before = Calls().Of("ILXAttribute::GetFormat");
        XLXComPtr<ILXFormat> format;
        EXPECT_EQ(head->GetFormat(1, format.Put()), S_OK);
        EXPECT_EQ(LXRead(format.Get(), 1), OLESTR("1"));
        EXPECT_LE(Calls().Of("ILXAttribute::GetFormat") - before, 64u);
    });
    Calls().SetHook({});
    ExpectCalls(1, [&] {
        XLXComPtr<ILXFormat> format;
        head->GetFormat(1, format.Put());
        head->GetFormat(1, format.Put());
    });
}

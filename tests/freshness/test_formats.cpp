// SPDX-License-Identifier: MIT
//
// Concurrent requests, creations and deletions of formats: a late answer undoes nothing, and all callers get the same
// object.
#include "inside.h"

#include <future>

namespace {
XServerModel FormatModel() {
    XServerModel model = LXTestModel();
    model.AddGlobalSpec("Length").AddFormat(1);
    return model;
}

/// By owner: format type 1 of Pump.Head, format type 1 of a global spec, and the format of a group.
class Formats : public CacheTest, public testing::WithParamInterface<const char*> {
protected:
    using Format = XLXComPtr<ILXFormat>;
    static constexpr int FormatType = 1;
    static constexpr int Member = 3;

    Formats() : CacheTest(FormatModel()) {}

    void SetUp() override {
        Change("old");
        ASSERT_EQ(Start(), S_OK);
        m_attribute = Attribute("Pump", "Head");
        m_group = Group("Pump", 7);
        m_spec = AllSpecs().at(0);
    }

    bool Of(const char* owner) const { return std::string_view(GetParam()) == owner; }
    /// Calls with the owner and the arguments that select the format.
    template <class Call> HRESULT With(Call&& call) {
        return Of("ILXAttribute") ? call(*m_attribute, FormatType)
               : Of("ILXGroup")   ? call(*m_group)
                                  : call(*m_spec, FormatType);
    }
    HRESULT Get(Format& format) {
        return With([&](auto& owner, auto... type) { return owner.GetFormat(type..., format.Put()); });
    }
    HRESULT Create(Format& format) {
        return With([&](auto& owner, auto... type) { return owner.CreateFormat(type..., format.Put()); });
    }
    HRESULT Delete() {
        return With([](auto& owner, auto... type) { return owner.DeleteFormat(type...); });
    }
    void Change(const char* value, XNotify notify = XNotify::Here) {
        const HRESULT result =
            Of("ILXAttribute")
                ? Edit().SetAttributeFormatProperty("Pump", "Head", FormatType, Member, value, notify).result
            : Of("ILXGroup") ? Edit().SetGroupFormatProperty("Pump", 7, Member, value, notify).result
                             : Edit().SetGlobalSpecFormatProperty("Length", FormatType, Member, value, notify).result;
        EXPECT_EQ(result, S_OK);
    }
    /// Does work while another thread has the server's answer for the format but has not returned it.
    void BeforeALateAnswer(const std::function<void()>& work) {
        auto gate = Calls().PauseAt(GetFormat(), XCallPoint::Answer);
        Format late;
        const auto reader = std::async(std::launch::async, [&] { Get(late); });
        gate.WaitUntilArrived();
        work();
        gate.Open();
        reader.wait();
    }
    std::string GetFormat() const { return std::string(GetParam()) + "::GetFormat"; }

    XLXComPtr<ILXAttribute> m_attribute;
    XLXComPtr<ILXGroup> m_group;
    XLXComPtr<ILXGlobalAttributeFormatSpec> m_spec;
};

TEST_P(Formats, ALateAnswerUndoesNoCreation) {
    EXPECT_EQ(Delete(), S_OK);
    Format created;
    BeforeALateAnswer([&] { EXPECT_EQ(Create(created), S_OK); });
    Format format;
    EXPECT_EQ(Get(format), S_OK);
    EXPECT_EQ(format, created);
}

TEST_P(Formats, ALateAnswerUndoesNoDeletion) {
    BeforeALateAnswer([&] { EXPECT_EQ(Delete(), S_OK); });
    Format format;
    EXPECT_EQ(Get(format), S_FALSE);
    EXPECT_FALSE(format);
}

TEST_P(Formats, ADirectNotificationToAReplacedOneReachesItsSuccessor) {
    Format replaced;
    Format successor;
    EXPECT_EQ(Get(replaced), S_OK);
    m_server->SendNotification("objects/Pump/0/1"); // makes everything stale
    EXPECT_EQ(Get(successor), S_OK);
    ASSERT_NE(replaced, successor);
    EXPECT_EQ(LXRead(successor.Get(), Member), OLESTR("old"));
    Change("new", XNotify::No);
    LXNotifyStraight(replaced, "properties/Pump/0/1");
    EXPECT_EQ(LXRead(successor.Get(), Member), OLESTR("new"));
}

TEST_P(Formats, ConcurrentFirstCallsGetOneObject) {
    Format first;
    Format second;
    {
        auto gate = Calls().PauseAt(GetFormat(), XCallPoint::Answer, 2);
        auto one = std::async(std::launch::async, [&] { return Get(first); });
        gate.WaitUntilArrived();
        auto other = std::async(std::launch::async, [&] { return Get(second); });
        // The other thread either arrives at the gate too or waits for the first one's answer.
        for (int i = 0; i < 500 && gate.Arrived() < 2; ++i) {
            other.wait_for(std::chrono::milliseconds(1));
        }
        gate.Open();
        EXPECT_EQ(one.get(), S_OK);
        EXPECT_EQ(other.get(), S_OK);
    }
    EXPECT_EQ(first, second);
    EXPECT_EQ(LXRead(first.Get(), Member), OLESTR("old"));
    EXPECT_EQ(LXRead(second.Get(), Member), OLESTR("old"));
    Change("new");
    EXPECT_EQ(LXRead(first.Get(), Member), OLESTR("new"));
    EXPECT_EQ(LXRead(second.Get(), Member), OLESTR("new"));
}

INSTANTIATE_TEST_SUITE_P(Of, Formats, testing::Values("ILXAttribute", "ILXGroup", "ILXGlobalAttributeFormatSpec"),
                         [](const auto& test) { return std::string(test.param).substr(3); });
} // namespace

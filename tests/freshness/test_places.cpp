// SPDX-License-Identifier: MIT
//
// Two threads: one makes a request at each point in turn where the other allocates memory. Incomplete data must not be
// taken for complete.
#include "allocations.h"
#include "inside.h"

namespace {
class Places : public BesideTest {
protected:
    using Question = std::function<bool()>;

    void SetUp() override {
        XAllocationWatch::ExceptWhile([] {
            if (t_left > 0 && --t_left == 0) { t_work(); }
            return false;
        });
    }
    void TearDown() override {
        Calls().SetHook({});
        XAllocationWatch::ExceptWhile(nullptr);
        t_work = {};
        Terminate();
    }
    /// Calls t_work at this thread's n-th allocation from now on; 0: never.
    static void CountTo(int n) { t_left = n; }

    /// For each allocation of the first request: calls prepare and runs the first request; at the allocation the second
    /// request runs on another thread. It may wait for the first request and is then answered after it.
    static void AtEach(const std::function<void(int)>& prepare, const Question& first, const Question& second) {
        int place = 0;
        for (bool reached = true; reached;) {
            prepare(++place);
            std::future<bool> answer;
            t_work = [&] {
                answer = std::async(std::launch::async, second);
                answer.wait_for(std::chrono::milliseconds(50));
            };
            {
                const XAllocationWatch watch;
                EXPECT_TRUE(first()) << place;
            }
            CountTo(0);
            reached = answer.valid();
            EXPECT_TRUE(!reached || answer.get()) << "at allocation " << place;
        }
        EXPECT_GT(place, 1);
    }
    static bool Has(const XLXComPtr<ILXType>& type, const std::string& name) {
        XLXComPtr<ILXAttribute> found;
        return type->GetAttribute(XLXComBSTR(LXFromUtf8(name)).Get(), found.Put()) == S_OK;
    }

private:
    static inline thread_local int t_left = 0;
    static inline thread_local std::function<void()> t_work;
};

TEST_F(Places, ADerivedTypeIsNotCompleteBeforeItHasWhatItsBaseGot) {
    ASSERT_EQ(Start(0), S_OK);
    const auto base = Type("Item");
    const auto derived = Type("Equipment");
    std::string name;
    Calls().SetHook([](const XServerCall&) { CountTo(0); }); // ignore allocations before the call to the server
    AtEach(
        [&](int place) {
            name = "X" + std::to_string(place);
            Edit().AddAttribute("Item", name, 0, XNotify::No);
            LXNotifyStraight(base, OLESTR("objects/Item/0/512"));
            EXPECT_TRUE(Has(base, name));
            CountTo(place);
        },
        [&] { return Has(derived, name); }, [&] { return Has(derived, name); });
}

TEST_F(Places, OvertakenRecordsDoNotCountAsReadWhileTheyAreParsed) {
    ASSERT_EQ(Start(0), S_OK);
    const auto item = Type("Item");
    const auto held = Attribute("Item", "Name");
    std::string label;
    int place = 0;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXType::GetTypeComponentData" && call.point == XCallPoint::Answer && place != 0) {
            label = "label " + std::to_string(place);
            Edit().SetAttributeProperty("Item", "Name", XProperty::Label, label);
            CountTo(std::exchange(place, 0));
        }
    });
    AtEach(
        [&](int next) {
            place = next;
            m_server->SendNotification("objects/Item/0/512");
        },
        [&] { return Has(item, "Weight"); }, [&] { return LXNarrow(LXRead(held.Get(), XProperty::Label)) == label; });
}
} // namespace

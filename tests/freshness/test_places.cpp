// SPDX-License-Identifier: MIT
//
// Two threads, one of which asks at each place in turn where the other one allocates: what is not complete yet is not
// taken for it.
#include "allocations.h"
#include "inside.h"

#include <future>

namespace
{
class Places : public CacheTest
{
protected:
    using Question = std::function<bool()>;

    void SetUp() override
    {
        XAllocationWatch::ExceptWhile([] {
            if (s_left > 0 && --s_left == 0)
            {
                s_work();
            }
            return false;
        });
    }
    void TearDown() override
    {
        Calls().SetHook({});
        XAllocationWatch::ExceptWhile(nullptr);
        s_work = {};
        Terminate();
    }
    /// The place is the n-th allocation of this thread from now on; 0: there is none.
    static void CountTo(int n) { s_left = n; }

    /// Prepares each place and lets the first thread ask until it does not come to the place any more. At the place
    /// the second one asks. It may wait for the first, and is then answered after it.
    static void AtEach(const std::function<void(int)>& prepare, const Question& first, const Question& second)
    {
        int place = 0;
        for (bool reached = true; reached;)
        {
            prepare(++place);
            std::future<bool> answer;
            s_work = [&] {
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
    static bool Has(const XLXComPtr<ILXType>& type, const std::string& name)
    {
        XLXComPtr<ILXAttribute> found;
        return type->GetAttribute(XLXComBSTR(LXFromUtf8(name)).Get(), found.Put()) == S_OK;
    }

private:
    static inline std::atomic<int> s_left{0};
    static inline std::function<void()> s_work;
};

TEST_F(Places, ADerivedTypeIsNotCompleteBeforeItHasWhatItsBaseGot)
{
    ASSERT_EQ(Start(0), S_OK);
    const auto base = Type("Item");
    const auto derived = Type("Equipment");
    std::string name;
    Calls().SetHook([](const XServerCall&) { CountTo(0); }); // places before the server is asked
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

TEST_F(Places, OvertakenRecordsDoNotCountAsReadWhileTheyAreParsed)
{
    ASSERT_EQ(Start(0), S_OK);
    const auto item = Type("Item");
    const auto held = Attribute("Item", "Name");
    std::string label;
    int place = 0;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXType::GetTypeComponentData" && call.point == XCallPoint::Answer && place != 0)
        {
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

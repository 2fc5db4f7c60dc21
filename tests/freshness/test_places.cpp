// SPDX-License-Identifier: MIT
//
// Two threads: one makes a request while the other is at an allocation, at each of its allocations in turn. Incomplete
// data must not pass for complete, and neither thread may consume what the other needs.
#include "allocations.h"
#include "beside.h"
#include "inside.h"

namespace {
class Places : public CacheTest {
protected:
    using Question = std::function<bool()>;

    void SetUp() override {
        XAllocationWatch::ExceptWhile([] {
            if (t_left > 0 && --t_left == 0) { t_work(); }
            return false;
        });
    }
    void TearDown() override {
        XAllocationWatch::ExceptWhile(nullptr);
        t_work = {};
        CacheTest::TearDown();
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
    /// How far two concurrent requests got.
    struct Met {
        bool first = false;  ///< the first reached its allocation and started the second
        bool second = false; ///< the second reached its allocation and let the first continue
    };
    /// Makes a request on this thread. At its n-th allocation after the server's answer, a thread that does not wait
    /// for other loads makes the same request; it stops at its own n-th allocation until the first request has
    /// returned.
    Met AskBeside(int first, int second, const Question& question) {
        Met met;
        Signals signals;
        std::future<void> other;
        t_work = [&] {
            met.first = true;
            other = LXBeside([&] { AskAndStop(second, question, signals); });
            auto stopped = signals.stopped.get_future(); // not set while that thread waits for a lock of this one
            met.second = stopped.wait_for(std::chrono::milliseconds(500)) == std::future_status::ready && stopped.get();
        };
        Calls().SetHook([&](const XServerCall& call) {
            if (call.name == "ILXType::GetTypeComponentData" && call.point == XCallPoint::Answer && !met.first) {
                CountTo(first);
            }
        });
        ExpectAnswer(0, question, "the first");
        signals.through.set_value();
        if (other.valid()) { other.get(); }
        return met;
    }

private:
    struct Signals {
        std::promise<bool> stopped; ///< true: the second thread is at its allocation; false: it has returned
        std::promise<void> through; ///< the first thread has returned
    };
    static void AskAndStop(int place, const Question& question, Signals& signals) {
        bool isThere = false;
        t_work = [&] {
            isThere = true;
            signals.stopped.set_value(true);
            // Not set while the first thread waits for a lock of this one.
            signals.through.get_future().wait_for(std::chrono::milliseconds(50));
        };
        ExpectAnswer(place, question, "the second");
        if (!isThere) { signals.stopped.set_value(false); }
    }
    static void ExpectAnswer(int place, const Question& question, const char* who) {
        CountTo(place);
        {
            const XAllocationWatch watch;
            EXPECT_TRUE(question()) << who;
        }
        CountTo(0);
    }

    static inline thread_local int t_left = 0;
    static inline thread_local std::function<void()> t_work;
};

TEST_F(Places, ADerivedTypeIsNotCompleteBeforeItHasTheNewAttributeOfItsBase) {
    ASSERT_EQ(Start(0), S_OK);
    const auto base = Type("Item");
    const auto derived = Type("Equipment");
    std::string name;
    Calls().SetHook([](const XServerCall&) { CountTo(0); }); // ignore allocations before the call to the server
    AtEach(
        [&](int place) {
            name = "X" + std::to_string(place);
            Edit().AddAttribute("Item", name, 0, XNotify::No);
            LXNotifyStraight(base, "objects/Item/0/512");
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

TEST_F(Places, TwoThreadsThatFetchTheSameTypeBothGetEverything) {
    ASSERT_EQ(Start(), S_OK); // so that an answer contains other components too
    const auto item = Type("Item");
    std::string name = "Weight"; // of an attribute that exists since the last notification
    int met = 0;
    bool hasFirst = true;
    for (int first = 1; hasFirst; ++first) {
        bool hasSecond = true;
        for (int second = 1; hasSecond; ++second) {
            SCOPED_TRACE("from allocation " + std::to_string(first) + " to " + std::to_string(second));
            Edit().RemoveAttribute("Item", name, XNotify::No);
            name = "X" + std::to_string(first) + "." + std::to_string(second);
            Edit().AddAttribute("Item", name, 0, XNotify::No);
            LXNotifyStraight(item, "objects/Item/0/1");
            const Met reached = AskBeside(first, second, [&] { return Has(item, name); });
            hasFirst = reached.first;
            hasSecond = reached.second;
            met += reached.second ? 1 : 0;
        }
    }
    EXPECT_GT(met, 50);
}
} // namespace

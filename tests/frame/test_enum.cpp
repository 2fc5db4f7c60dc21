// SPDX-License-Identifier: MIT
#include "XLXEnumWithDelete.h"
#include "lxtestrunner.h"

#include <lxserver/Refusals.h>

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace {
using Enumerator = XLXEnumWithDelete<ILXBrowserIdEnum, ILXBrowserId>;
using Items = Enumerator::Items;

class FakeBrowserId final : public lx::PlainRefusals<lx::ConfigObjectRefusals<lx::Object<ILXBrowserId>>> {};

const LXLiveCounter elements("elements", [] { return lx::liveObjects.load(); });
const LXLiveCounter enumerators("enumerators", [] { return XModuleCount::LiveObjects(); });

Items MakeItems(size_t count) {
    Items items;
    for (size_t i = 0; i < count; ++i) {
        items.emplace_back(new FakeBrowserId);
    }
    return items;
}

/// An enumerator over that many elements.
XLXComPtr<ILXBrowserIdEnum> Over(size_t count) { return XLXComPtr<ILXBrowserIdEnum>(new Enumerator(MakeItems(count))); }

enum Method {
    Next, // argument: number of requested elements; expects the result and the number fetched
    Skip, // argument: number of elements to skip
    Reset,
    Single, // expects 1 or 0 fetched
};

struct Step {
    Method method;
    ULONG argument;
    HRESULT answer;
    ULONG fetched;
};

struct Walk {
    const char* name;
    size_t elements;
    std::vector<Step> steps;
};

/// Performs one step and returns the number of elements that it fetched.
HRESULT Take(ILXBrowserIdEnum& from, const Step& step, Items& got) {
    ILXBrowserId* raw[8] = {};
    ULONG fetched = 99;
    HRESULT answer = E_UNEXPECTED;
    switch (step.method) {
    case Next: answer = from.RemNext(step.argument, raw, &fetched); break;
    case Single:
        raw[0] = reinterpret_cast<ILXBrowserId*>(&raw); // must be overwritten
        answer = from.GetSingleNext(raw);
        fetched = raw[0] != nullptr ? 1 : 0;
        break;
    default: answer = step.method == Skip ? from.Skip(step.argument) : from.Reset(); fetched = 0;
    }
    for (ULONG i = 0; i < fetched && i < std::size(raw); ++i) {
        got.push_back(LXAttach(raw[i]));
    }
    return answer;
}

const Walk walks[] = {
    {"ShortLastBatch", 5, {{Next, 2, S_OK, 2}, {Next, 5, S_FALSE, 3}, {Next, 1, S_FALSE, 0}}},
    {"NoneRequested", 1, {{Next, 0, S_OK, 0}, {Skip, 0, S_OK, 0}, {Next, 1, S_OK, 1}, {Next, 0, S_FALSE, 0}}},
    {"SkipStopsAtTheEnd", 3, {{Skip, 2, S_OK, 0}, {Skip, 2, S_FALSE, 0}, {Skip, 0, S_OK, 0}, {Next, 1, S_FALSE, 0}}},
    {"SingleAndAgain",
     2,
     {{Single, 0, S_OK, 1}, {Single, 0, S_OK, 1}, {Single, 0, S_FALSE, 0}, {Reset, 0, S_OK, 0}, {Next, 3, S_FALSE, 2}}},
    {"HugeRequests", 2, {{Skip, 0xFFFFFFFF, S_FALSE, 0}, {Reset, 0, S_OK, 0}, {Next, 0xFFFFFFFF, S_FALSE, 2}}},
    {"EmptyVector", 0, {{Next, 1, S_FALSE, 0}, {Single, 0, S_FALSE, 0}, {Skip, 0, S_OK, 0}, {Reset, 0, S_OK, 0}}},
};

TEST(Enumerator, AnswersStepByStep) {
    for (const Walk& walk : walks) {
        const XLXComPtr<ILXBrowserIdEnum> walked = Over(walk.elements);
        for (const Step& step : walk.steps) {
            SCOPED_TRACE(walk.name + std::string(", step ") + std::to_string(&step - walk.steps.data()));
            Items got;
            EXPECT_EQ(Take(*walked, step, got), step.answer);
            EXPECT_EQ(got.size(), step.fetched);
        }
    }
}

TEST(Enumerator, ReturnsTheElementsInOrderWithAReferenceEach) {
    Items items = MakeItems(3);
    const std::vector<ILXBrowserId*> order{items[0].Get(), items[1].Get(), items[2].Get()};
    XLXComPtr<ILXBrowserIdEnum> walked;
    ASSERT_EQ(LXHandOutEnumerator(std::move(items), walked.Put()), S_OK);
    EXPECT_EQ(XModuleCount::LiveObjects(), 1);
    EXPECT_EQ(XModuleCount::Locks(), 0);
    ILXBrowserId* got[3] = {};
    ULONG fetched = 0;
    ASSERT_EQ(walked->RemNext(3, got, &fetched), S_OK);
    EXPECT_TRUE(std::equal(order.begin(), order.end(), got));
    walked.Reset();
    EXPECT_EQ(XModuleCount::LiveObjects(), 0);
    for (ILXBrowserId* const element : got) {
        EXPECT_EQ(element->Release(), 0u); // the last reference
    }
    EXPECT_EQ(lx::liveObjects, 0);
}

TEST(Enumerator, IsNotCreatedOverNoElements) {
    ILXBrowserIdEnum* out = reinterpret_cast<ILXBrowserIdEnum*>(&out);
    EXPECT_EQ(LXHandOutEnumerator(Items(), &out), S_FALSE);
    EXPECT_EQ(out, nullptr);
}

TEST(Enumerator, RefusesNullPointersAndCloningWithoutMoving) {
    const XLXComPtr<ILXBrowserIdEnum> walked = Over(1);
    XLXComPtr<ILXBrowserId> element;
    XLXComPtr<ILXBrowserIdEnum> clone;
    ULONG fetched = 7;
    EXPECT_EQ(walked->RemNext(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(walked->RemNext(1, element.Put(), nullptr), E_POINTER);
    EXPECT_EQ(walked->RemNext(0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(walked->GetSingleNext(nullptr), E_POINTER);
    EXPECT_EQ(walked->Clone(clone.Put()), E_NOTIMPL);
    fetched = 7;
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_OK) << "no elements need no array";
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(walked->GetSingleNext(element.Put()), S_OK) << "a refusal moved the cursor";
    fetched = 7;
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(walked->RemNext(1, nullptr, &fetched), E_POINTER);
}

TEST(Enumerator, SupportsErrorInformationForItsInterface) {
    const XLXComPtr<ILXBrowserIdEnum> walked = Over(1);
    const auto support = walked.As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_ILXBrowserIdEnum), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
    EXPECT_EQ(support.As<IUnknown>(), walked.As<IUnknown>());
}

TEST(Enumerator, ReturnsEachElementOnceWhenThreadsShareIt) {
    constexpr size_t Count = 20000;
    const XLXComPtr<ILXBrowserIdEnum> walked = Over(Count);
    std::vector<Items> got(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < got.size(); ++t) {
        threads.emplace_back([&walked, &mine = got[t], t] {
            const Step step{t % 2 == 0 ? Next : Single, 3, S_OK, 3};
            while (Take(*walked, step, mine) == S_OK) {}
        });
    }
    std::set<ILXBrowserId*> all;
    for (size_t t = 0; t < got.size(); ++t) {
        threads[t].join();
        for (const auto& element : got[t]) {
            EXPECT_TRUE(all.insert(element.Get()).second);
        }
    }
    EXPECT_EQ(all.size(), Count);
}

} // namespace

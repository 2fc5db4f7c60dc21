// SPDX-License-Identifier: MIT
#include "XLXEnumWithDelete.h"
#include "lxtestrunner.h"

#include <lxserver/Refusals.h>

#include <gtest/gtest.h>

#include <future>
#include <set>

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

XLXComPtr<ILXBrowserIdEnum> Over(const Items& items) { return XLXComPtr<ILXBrowserIdEnum>(new Enumerator(items)); }

/// The elements that RemNext returns.
Items Next(const XLXComPtr<ILXBrowserIdEnum>& from, ULONG asked, HRESULT expected) {
    ILXBrowserId* raw[8] = {};
    ULONG fetched = 99;
    EXPECT_EQ(from->RemNext(asked, raw, &fetched), expected);
    Items got;
    for (ULONG i = 0; i < std::min<ULONG>(fetched, 8); ++i) {
        got.push_back(LXAttach(raw[i]));
    }
    return got;
}

// tests/surface passes null pointers, and calls Clone, for every enumerator.
TEST(Enumerator, ReturnsWhatIsLeft) {
    const Items items = MakeItems(5);
    const auto walked = Over(items);
    ULONG fetched = 7;
    EXPECT_EQ(walked->RemNext(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_OK) << "no elements need no array";
    EXPECT_EQ(Next(walked, 2, S_OK), (Items{items[0], items[1]})) << "a refusal moved the cursor";
    EXPECT_EQ(walked->Skip(1), S_OK);
    EXPECT_EQ(Next(walked, 5, S_FALSE), (Items{items[3], items[4]}));
    EXPECT_EQ(walked->Skip(0), S_OK);
    EXPECT_EQ(walked->Skip(1), S_FALSE);
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_FALSE);
    EXPECT_EQ(walked->RemNext(1, nullptr, &fetched), E_POINTER);
    ILXBrowserId* single = reinterpret_cast<ILXBrowserId*>(&single); // must be overwritten
    EXPECT_EQ(walked->GetSingleNext(&single), S_FALSE);
    EXPECT_EQ(single, nullptr);
    for (const ULONG huge : {6u, 0xFFFFFFFFu}) {
        EXPECT_EQ(walked->Reset(), S_OK);
        EXPECT_EQ(walked->Skip(huge), S_FALSE);
        EXPECT_EQ(Next(walked, 1, S_FALSE).size(), 0u);
        EXPECT_EQ(walked->Reset(), S_OK);
        EXPECT_EQ(Next(walked, huge, S_FALSE), items);
    }
    EXPECT_EQ(Next(Over({}), 1, S_FALSE).size(), 0u);
}

TEST(Enumerator, IsHandedOutUnlessThereAreNoElements) {
    Items items = MakeItems(3);
    XLXComPtr<ILXBrowserIdEnum> walked;
    ASSERT_EQ(LXHandOutEnumerator(std::move(items), walked.Put()), S_OK);
    EXPECT_EQ(XModuleCount::LiveObjects(), 1);
    EXPECT_EQ(XModuleCount::Locks(), 0);
    const Items got = Next(walked, 2, S_OK);
    walked.Reset();
    EXPECT_EQ(lx::liveObjects, 2) << "elements outlive their enumerator";
    ILXBrowserIdEnum* out = reinterpret_cast<ILXBrowserIdEnum*>(&out);
    EXPECT_EQ(LXHandOutEnumerator(Items(), &out), S_FALSE);
    EXPECT_EQ(out, nullptr);
}

TEST(Enumerator, SupportsErrorInformationForItsInterface) {
    const auto support = Over({}).As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_ILXBrowserIdEnum), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
}

TEST(Enumerator, ReturnsEachElementOnceWhenThreadsShareIt) {
    constexpr size_t Count = 20000;
    const auto walked = Over(MakeItems(Count));
    std::vector<std::future<Items>> threads;
    for (int t = 0; t < 4; ++t) {
        threads.push_back(std::async(std::launch::async, [&walked, t] {
            Items got;
            ILXBrowserId* raw[3] = {};
            for (ULONG fetched = 1; fetched != 0;) {
                if (t % 2 == 0) {
                    walked->RemNext(3, raw, &fetched);
                } else {
                    fetched = walked->GetSingleNext(raw) == S_OK ? 1 : 0;
                }
                for (ULONG i = 0; i < fetched; ++i) {
                    got.push_back(LXAttach(raw[i]));
                }
            }
            return got;
        }));
    }
    std::set<ILXBrowserId*> all;
    for (std::future<Items>& thread : threads) {
        for (const auto& element : thread.get()) {
            EXPECT_TRUE(all.insert(element.Get()).second);
        }
    }
    EXPECT_EQ(all.size(), Count);
}
} // namespace

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

/// An enumerator over that many elements.
XLXComPtr<ILXBrowserIdEnum> Over(size_t count) { return XLXComPtr<ILXBrowserIdEnum>(new Enumerator(MakeItems(count))); }

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

TEST(Enumerator, ReturnsWhatIsLeft) {
    const auto walked = Over(5);
    EXPECT_EQ(Next(walked, 0, S_OK).size(), 0u);
    EXPECT_EQ(Next(walked, 2, S_OK).size(), 2u);
    EXPECT_EQ(walked->Skip(1), S_OK);
    EXPECT_EQ(Next(walked, 5, S_FALSE).size(), 2u);
    EXPECT_EQ(walked->Skip(0), S_OK);
    EXPECT_EQ(walked->Skip(1), S_FALSE);
    ILXBrowserId* single = reinterpret_cast<ILXBrowserId*>(&single); // must be overwritten
    EXPECT_EQ(walked->GetSingleNext(&single), S_FALSE);
    EXPECT_EQ(single, nullptr);
    for (const ULONG huge : {6u, 0xFFFFFFFFu}) {
        EXPECT_EQ(walked->Reset(), S_OK);
        EXPECT_EQ(walked->Skip(huge), S_FALSE);
        EXPECT_EQ(Next(walked, 1, S_FALSE).size(), 0u);
        EXPECT_EQ(walked->Reset(), S_OK);
        EXPECT_EQ(Next(walked, huge, S_FALSE).size(), 5u);
    }
    EXPECT_EQ(Next(Over(0), 1, S_FALSE).size(), 0u);
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
    EXPECT_EQ(walked->RemNext(0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(walked->GetSingleNext(nullptr), E_POINTER);
    EXPECT_EQ(walked->Clone(clone.Put()), E_NOTIMPL);
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_OK) << "no elements need no array";
    EXPECT_EQ(walked->GetSingleNext(element.Put()), S_OK) << "a refusal moved the cursor";
    EXPECT_EQ(walked->RemNext(0, nullptr, &fetched), S_FALSE);
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

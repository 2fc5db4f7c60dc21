// SPDX-License-Identifier: MIT
//
// The time until a writer gets in while threads read one object without a pause. The table is printed; the bound is
// wide, because the test only checks that readers do not starve a writer.
#include "cachefixture.h"

#include <algorithm>
#include <atomic>

class Progress : public CacheTest, public testing::WithParamInterface<int> {};

TEST_P(Progress, AChangeGetsThroughReadersThatNeverPause) {
    constexpr int Rounds = 100;
    ASSERT_EQ(Start(), S_OK);
    const auto head = Attribute("Pump", "Head");
    std::atomic<bool> over{false};
    std::atomic<int> reading{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < GetParam(); ++i) {
        readers.emplace_back([&] {
            LXRead(head.Get(), XProperty::Label);
            ++reading;
            while (!over.load(std::memory_order_relaxed)) {
                LXRead(head.Get(), XProperty::Label);
            }
        });
    }
    while (reading.load() != GetParam()) {
        std::this_thread::yield();
    }
    std::vector<double> milliseconds;
    for (int round = 0; round < Rounds; ++round) {
        const std::string value = std::to_string(round);
        const auto start = std::chrono::steady_clock::now();
        Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, value);
        EXPECT_EQ(LXNarrow(LXRead(head.Get(), XProperty::Label)), value);
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    over = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("%d readers: notification, refill and read: median %.2f ms, longest %.2f ms\n", GetParam(),
                milliseconds[Rounds / 2], milliseconds.back());
    EXPECT_LT(milliseconds[Rounds / 2], 1000);
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(Readers, Progress, testing::Values(1, 2, 4, 8), testing::PrintToStringParamName());

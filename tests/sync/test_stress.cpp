// SPDX-License-Identifier: MIT
//
// All kinds of access to the same data at once. The value is self-checking: a reader that overlaps a writer sees parts
// that do not match.
#include "synctools.h"

#include <cstdlib>
#include <random>
#include <vector>

namespace {
constexpr std::uint64_t Mix(std::uint64_t value) {
    value ^= value >> 33;
    value *= 0xFF51AFD7ED558CCDull;
    return value ^ (value >> 29);
}

struct Value {
    std::uint64_t up = 0;
    std::uint64_t down = ~std::uint64_t{0};
    std::uint64_t hash = Mix(0);
    std::vector<std::uint64_t> copies; // reallocated when it grows

    void Step() {
        ++up;
        --down;
        hash = Mix(up);
        copies.assign(up % 40, up);
        copies.shrink_to_fit();
    }
    bool IsWhole() const {
        bool whole = up + down == ~std::uint64_t{0} && hash == Mix(up) && copies.size() == up % 40;
        for (const std::uint64_t copy : copies) {
            whole = whole && copy == up;
        }
        return whole;
    }
};

class Stress {
public:
    static constexpr std::uint64_t WritesEach = 250; // minimum
    static constexpr std::uint64_t ReadsEach = 50;   // minimum, concurrent with the writers
    static constexpr int Writers = 3;
    static constexpr int Readers = 5;

    explicit Stress(unsigned seed) : m_seed(seed) {}
    void Run();

    std::atomic<std::uint64_t> broken{0};
    std::atomic<std::uint64_t> writes{0};
    std::atomic<std::uint64_t> reads{0};
    std::atomic<std::uint64_t> lockFreeReads{0};
    XCritDataCFC<Value> data{XLockLevel::PropertyStore};

private:
    template <class Proxy> std::uint64_t ReadOnce() {
        const Proxy proxy(data);
        broken += !proxy->IsWhole();
        return proxy->up;
    }
    void Write(unsigned seed);
    void Read(unsigned seed);

    const unsigned m_seed;
    std::atomic<int> m_writersLeft{Writers};
    std::atomic<int> m_readersBehind{Readers};
};

void Stress::Write(unsigned seed) {
    std::mt19937 random(seed);
    // Threads may start late on a busy machine, so writers continue until each reader has done its minimum.
    for (std::uint64_t i = 0; i < WritesEach || m_readersBehind > 0; ++i) {
        {
            const XCritProxy<Value> proxy(data);
            broken += !proxy->IsWhole();
            proxy->Step();
            ++writes;
            switch (random() % 4) // reads inside the thread's own write
            {
            case 0: ReadOnce<XCritReadProxy<Value>>(); break;
            case 1: ReadOnce<XCritLFReadProxy<Value>>(); break;
            default: break;
            }
        }
        for (std::size_t pause = random() % 2000; pause > 0; --pause) {
            LX_CPU_RELAX();
        }
    }
    --m_writersLeft;
}

void Stress::Read(unsigned seed) {
    std::mt19937 random(seed);
    std::uint64_t last = 0;
    for (std::uint64_t done = 1; m_writersLeft > 0; ++done) {
        const bool lockFree = random() % 8 != 0;
        const std::uint64_t seen = lockFree ? ReadOnce<XCritLFReadProxy<Value>>() : ReadOnce<XCritReadProxy<Value>>();
        broken += seen < last; // no thread sees an older value than before
        last = seen;
        ++(lockFree ? lockFreeReads : reads);
        m_readersBehind -= done == ReadsEach;
    }
}

void Stress::Run() {
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < Writers; ++i) {
        threads.emplace_back([this, i] { Write(m_seed + i); });
    }
    for (unsigned i = 0; i < Readers; ++i) {
        threads.emplace_back([this, i] { Read(m_seed + 100 + i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Set LX_TEST_SEED to repeat a run.
unsigned Seed() {
    const char* const given = std::getenv("LX_TEST_SEED");
    return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
}

TEST(GuardedData, KeepsItsValueWholeUnderAllKindsOfAccess) {
    const unsigned seed = Seed();
    std::printf("  LX_TEST_SEED=%u\n", seed);
    Stress stress(seed);
    stress.Run();
    EXPECT_EQ(0u, stress.broken);
    EXPECT_EQ(stress.writes, XCritReadProxy<Value>(stress.data)->up);
    EXPECT_GE(stress.writes, Stress::Writers * Stress::WritesEach);
    EXPECT_GT(stress.reads, 0u);
    EXPECT_GT(stress.lockFreeReads, 0u);
}
} // namespace

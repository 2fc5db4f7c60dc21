// SPDX-License-Identifier: MIT
#include "latemodule.h"

#include "XCritData.h"

namespace {
struct Pair {
    std::uint64_t up = 0;
    std::uint64_t down = ~std::uint64_t{0};
};

XCritDataCFC<Pair> g_pair(XLockLevel::Relations);

/// The number that a reader sees. A reader that overlaps a writer sees halves that do not match.
template <class Proxy> std::uint64_t Read(unsigned* broken) {
    const Proxy pair(g_pair);
    *broken += pair->up != ~pair->down;
    return pair->up;
}
} // namespace

extern "C" LX_EXPORT unsigned LXLateWork(unsigned rounds, unsigned* broken) {
    std::uint64_t last = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        if (round % 16 == 0) {
            const XCritProxy<Pair> pair(g_pair);
            ++pair->up;
            --pair->down;
            round % 32 == 0 ? Read<XCritReadProxy<Pair>>(broken) : Read<XCritLFReadProxy<Pair>>(broken);
        }
        const auto seen = round % 8 == 0 ? Read<XCritReadProxy<Pair>>(broken) : Read<XCritLFReadProxy<Pair>>(broken);
        *broken += seen < last;
        last = seen;
    }
    return XSystemSync::ThreadIndex();
}

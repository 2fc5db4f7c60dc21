// SPDX-License-Identifier: MIT
#include "latemodule.h"

#include "XCritData.h"

namespace {
struct Pair {
    std::uint64_t up = 0;
    std::uint64_t down = ~std::uint64_t{0};
};

XCritDataCFC<Pair> g_pair(XLockLevel::Relations);
} // namespace

extern "C" LX_EXPORT unsigned LXLateWork(unsigned rounds, unsigned* broken) {
    for (unsigned round = 0; round < rounds; ++round) {
        if (round % 16 == 0) {
            const XCritProxy<Pair> pair(g_pair);
            ++pair->up;
            --pair->down;
        }
        const XCritLFReadProxy<Pair> pair(g_pair);
        *broken += pair->up != ~pair->down;
    }
    return XSystemSync::ThreadIndex();
}

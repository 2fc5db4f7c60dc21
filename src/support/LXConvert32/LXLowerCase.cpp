// SPDX-License-Identifier: MIT
//
// Lower case by Unicode's simple mappings. The result depends neither on the locale nor on the platform, so all
// processes compare names in the same way.
#include "XLXComBSTR.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {
/// A range of capitals with the same distance to their small letters. At distance 1, capitals and small letters
/// alternate.
struct LowerRange {
    char32_t first;
    std::uint32_t count;
    std::int32_t distance;

    constexpr std::uint32_t Step() const noexcept { return distance == 1 ? 2 : 1; }
    constexpr char32_t End() const noexcept { return first + count * Step(); }
};

constexpr LowerRange Ranges[] = {
#include "lowercase.inc"
};

static_assert(std::is_sorted(std::begin(Ranges), std::end(Ranges),
                             [](const LowerRange& left, const LowerRange& right) { return left.first < right.first; }));

constexpr char32_t FirstHigh = 0xD800;
constexpr char32_t FirstLow = 0xDC00;
constexpr char32_t HalfCount = 0x400;
constexpr char32_t FirstPair = 0x10000;

constexpr bool IsHigh(OLECHAR unit) noexcept { return unit >= FirstHigh && unit < FirstLow; }
constexpr bool IsLow(OLECHAR unit) noexcept { return unit >= FirstLow && unit < FirstLow + HalfCount; }

char32_t Lower(char32_t character) noexcept {
    if (character < 0x80) { return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character; }
    const auto range = std::lower_bound(std::begin(Ranges), std::end(Ranges), character,
                                        [](const LowerRange& left, char32_t right) { return left.End() <= right; });
    const bool capital =
        range != std::end(Ranges) && character >= range->first && (character - range->first) % range->Step() == 0;
    return capital ? static_cast<char32_t>(static_cast<std::int32_t>(character) + range->distance) : character;
}
} // namespace

XLXText LXLowerCase(XLXTextView text) {
    XLXText lower(text);
    for (std::size_t at = 0; at < lower.size(); ++at) {
        if (IsHigh(lower[at]) && at + 1 < lower.size() && IsLow(lower[at + 1])) {
            // A small letter has as many units as its capital; the generator of the table checks that.
            const char32_t pair = (lower[at] - FirstHigh) * HalfCount + (lower[at + 1] - FirstLow);
            const char32_t small = Lower(FirstPair + pair) - FirstPair;
            lower[at++] = static_cast<OLECHAR>(FirstHigh + small / HalfCount);
            lower[at] = static_cast<OLECHAR>(FirstLow + small % HalfCount);
        } else {
            lower[at] = static_cast<OLECHAR>(Lower(lower[at]));
        }
    }
    return lower;
}

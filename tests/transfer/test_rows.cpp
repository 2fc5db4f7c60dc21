// SPDX-License-Identifier: MIT
//
// Rows of values, in which empty members take no memory.
#include "allocations.h"
#include "transferfixtures.h"

namespace {
using Expected = std::vector<std::optional<LONG>>; ///< by member; nullopt for an empty one

XLXComVariant Number(const std::optional<LONG>& value) {
    return value ? XLXComVariant::FromI4(*value) : XLXComVariant();
}

template <class Value> std::optional<LONG> NumberIn(const Value& value) {
    return value.Empty() ? std::nullopt : value.AsLong();
}

XVariantRow RowOf(const Expected& expected) {
    XLXVariantVector values;
    for (const auto& value : expected) {
        values.push_back(Number(value));
    }
    return values;
}

void ExpectRow(const XVariantRow& row, const Expected& expected) {
    ASSERT_EQ(row.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(NumberIn(row[i]), expected[i]) << "member " << i << " of " << row.size();
    }
    EXPECT_TRUE(row[expected.size()].Empty());
}

} // namespace

// Every member keeps its value while others are set, emptied and exchanged; also in long rows, which have a word for
// each member, and while a row grows to that length.
TEST(Rows, KeepAllOtherValuesDuringAnExchange) {
    for (const std::size_t size : {0U, 1U, 60U, 200U, 254U, 255U, 256U, 300U}) {
        Expected expected(size);
        for (std::size_t i = 0; i < size; ++i) {
            if (i % 3 == size % 3) { expected[i] = static_cast<LONG>(i + 1000); }
        }
        XVariantRow row = RowOf(expected);
        ExpectRow(row, expected);
        for (std::size_t step = 0; step < 2 * size; ++step) {
            const std::size_t member = step * 37 % size;
            const std::optional<LONG> next = step % 4 == 3 ? std::nullopt : std::optional(static_cast<LONG>(step));
            XLXComVariant value = Number(next);
            row.Exchange(member, value);
            ASSERT_EQ(NumberIn(value), std::exchange(expected[member], next)) << member;
            ExpectRow(row, expected);
        }
        XLXComVariant behind = Number(5);
        row.Exchange(size + 40, behind);
        expected.resize(size + 41);
        expected.back() = 5;
        ExpectRow(row, expected);
    }
}

TEST(Rows, StayUnchangedWhenMemoryRunsOut) {
    XVariantRow row = RowOf({1, std::nullopt, 3});
    XLXComVariant value = Number(2);
    {
        const XAllocationWatch watch(1);
        EXPECT_THROW(row.Exchange(1, value), std::bad_alloc);
    }
    EXPECT_EQ(value.AsLong(), 2);
    ExpectRow(row, {1, std::nullopt, 3});
}

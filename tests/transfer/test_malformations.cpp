// SPDX-License-Identifier: MIT
//
// Arrays with a single fault: the right exception is raised, nothing leaks, and wrong counts allocate no memory.
#include "allocations.h"
#include "transferfixtures.h"

#include <algorithm>
#include <tuple>

namespace {
/// Replaces an element by a number.
struct Spoiled {
    const char* name;
    EKind kind;
    ULONG at;
    VARTYPE type;
    ULONG value;
    const char* text;
    const char* method;
};

std::ostream& operator<<(std::ostream& out, const Spoiled& row) { return out << row.kind << row.name; }

constexpr ULONG MostNegative = 0x80000000;
constexpr const char* WrongSize = "wrong safearray size";
constexpr const char* NegativeCount = "vector element count is negative";
constexpr const char* WrongAlgorithm = "wrong mapping algorithm stored in safearray";
constexpr const char* WrongWrapper = "wrong data wrapper id stored in safearray";

constexpr Spoiled SpoiledArrays[] = {
    {"Algorithm", EKind::TypeArray, 0, VT_I4, 2, WrongAlgorithm, "GetMapFromArray"},
    {"Algorithm", EKind::PCArray, 0, VT_I4, 1, WrongAlgorithm, "GetVecFromArray"},
    {"Algorithm", EKind::TypeComponents, 0, VT_I4, 0, WrongAlgorithm, "GetWrapperFromArray"},
    {"Wrapper", EKind::TypeArray, 1, VT_I4, 1, WrongWrapper, "GetMapFromArray"},
    {"Wrapper", EKind::PCArray, 1, VT_I4, 0, WrongWrapper, "GetVecFromArray"},
    {"Wrapper", EKind::TypeComponents, 1, VT_I4, 2, WrongWrapper, "GetWrapperFromArray"},
    {"NegativeCount", EKind::PCArray, 2, VT_I4, MostNegative, NegativeCount, "VecFromSafeArray"},
    {"NegativeValueCount", EKind::TypeArray, 10, VT_I4, 0xFFFFFFFF, NegativeCount, "VecFromSafeArray"},
    {"NegativeTypeCount", EKind::AttributeList, 61, VT_I4, 0xFFFFFFFF, NegativeCount, "VecFromSafeArray"},
    {"NegativeSubArray", EKind::TypeArray, 30, VT_I4, 0xFFFFFFFF, WrongSize, "SafeArrayFromSafeArray"},
    {"MoreNamesThanElements", EKind::TypeArray, 2, VT_UI4, 40, WrongSize, "GetMapFromArray"},
    {"OneRecordTooMany", EKind::TypeArray, 3, VT_UI4, 3, WrongSize, "FromSafeArray"},
    {"OneRecordTooMany", EKind::RecordList, 0, VT_I4, 3, WrongSize, "FromSafeArray"},
    {"OneValueTooMany", EKind::RecordList, 5, VT_I4, 1, WrongSize, "VecFromSafeArray"},
    {"OneTypeTooMany", EKind::AttributeList, 131, VT_I4, 1, WrongSize, "VecFromSafeArray"},
    {"TypesBeyondTheEnd", EKind::AttributeList, 61, VT_I4, 9, WrongSize, "ReadAttributeList"},
    {"SubArrayBeyondTheEnd", EKind::TypeArray, 30, VT_I4, 12, WrongSize, "SafeArrayFromSafeArray"},
    {"HugeNames", EKind::TypeArray, 2, VT_UI4, 0xFFFFFFFF, WrongSize, "GetMapFromArray"},
    {"HugeSubArray", EKind::TypeArray, 30, VT_I4, 0x7FFFFFFF, WrongSize, "SafeArrayFromSafeArray"},
    {"HugeSubArray", EKind::TypeComponents, 10, VT_I4, 0x08000000, WrongSize, "SafeArrayFromSafeArray"},
    {"HugeCount", EKind::PCArray, 2, VT_I4, 0x7FFFFFFF, WrongSize, "VecFromSafeArray"},
};

class SpoiledArray : public testing::TestWithParam<Spoiled> {};

TEST_P(SpoiledArray, IsRefusedWithoutLargeAllocations) {
    const Spoiled& row = GetParam();
    XLXSafeArray array = Sample(row.kind);
    ASSERT_EQ(V_VT(&ElementOf(array, row.at)), row.type) << "another element of the sample";
    V_UI4(&ElementOf(array, row.at)) = row.value;
    const XAllocationWatch watch;
    EXPECT_EQ(Read(row.kind, std::move(array)), (Raised{E_INVALIDARG, row.text, row.method}));
    EXPECT_LT(watch.Bytes(), 64U * 1024);
}

INSTANTIATE_TEST_SUITE_P(Transfer, SpoiledArray, testing::ValuesIn(SpoiledArrays),
                         [](const auto& row) { return testing::PrintToString(row.param); });

/// Whether the element at a position may be of any type.
bool IsFree(EKind kind, ULONG at) {
    constexpr std::tuple<EKind, ULONG, ULONG> ranges[] = {
        {EKind::TypeArray, 11, 13},    {EKind::TypeArray, 24, 26},     {EKind::TypeArray, 31, 37},
        {EKind::PCArray, 5, 6},        {EKind::TypeComponents, 6, 9},  {EKind::RecordList, 3, 3},
        {EKind::AttributeList, 1, 60}, {EKind::AttributeList, 62, 68}, {EKind::AttributeList, 71, 130}};
    return std::any_of(std::begin(ranges), std::end(ranges), [=](const auto& range) {
        return std::get<0>(range) == kind && std::get<1>(range) <= at && at <= std::get<2>(range);
    });
}

class EveryElement : public testing::TestWithParam<EKind> {};

TEST_P(EveryElement, OfAnotherTypeIsRefusedUnlessItIsAValue) {
    const EKind kind = GetParam();
    const XLXSafeArray sample = Sample(kind);
    const long before = lx::liveObjects;
    for (ULONG at = 0; at < CountOf(sample); ++at) {
        const std::string described = Describe(ElementOf(sample, at));
        const std::string type = described.substr(0, described.find(' '));
        const Raised expected = IsFree(kind, at)
                                    ? Raised{}
                                    : Raised{E_INVALIDARG, "variant type mismatch: expected VT_" + type, "FromVariant"};
        for (const VARTYPE wrong : {VT_I2, VT_EMPTY, VT_DISPATCH}) {
            XLXSafeArray array = Cut(sample, CountOf(sample));
            Spoil(array, at, wrong);
            EXPECT_EQ(Read(kind, std::move(array)), expected) << at << " " << wrong;
        }
    }
    EXPECT_EQ(lx::liveObjects, before);
}

TEST_P(EveryElement, IsNeeded) {
    const EKind kind = GetParam();
    const XLXSafeArray sample = Sample(kind);
    const long before = lx::liveObjects;
    for (ULONG count = 0; count < CountOf(sample); ++count) {
        XLXSafeArray array = Cut(sample, count);
        if (kind == EKind::AttributeList && (count == 0 || count == 70)) // between two attributes
        {
            EXPECT_EQ(XLXCFCDataTransfer::ReadAttributeList(std::move(array)).size(), count / 70);
            continue;
        }
        const Raised raised = Read(kind, std::move(array));
        EXPECT_EQ(raised.code, E_INVALIDARG) << count;
        EXPECT_EQ(raised.text, WrongSize) << count;
    }
    EXPECT_EQ(lx::liveObjects, before);
}

INSTANTIATE_TEST_SUITE_P(Transfer, EveryElement, testing::ValuesIn(AllKinds), testing::PrintToStringParamName());
} // namespace

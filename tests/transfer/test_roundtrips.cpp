// SPDX-License-Identifier: MIT
//
// Readers read well-formed arrays correctly, and writers write the same arrays again.
#include "transferfixtures.h"

#include <limits>

using namespace XLXCFCDataTransfer;

namespace {
class EveryKind : public testing::TestWithParam<EKind> {};

TEST_P(EveryKind, IsWrittenAsItWasReadWhateverItsLowerBound) {
    const XLXSafeArray array = Sample(GetParam());
    using Limits = std::numeric_limits<LONG>;
    for (const LONG bound : std::initializer_list<LONG>{0, 1, -7, Limits::min(), Limits::max() - 3}) {
        XLXSafeArray moved = Cut(array, CountOf(array), bound);
        EXPECT_EQ(Describe(ReadAndWrite(GetParam(), std::move(moved))), Describe(array)) << bound;
    }
}

// Trailing elements are ignored, except in an attribute list, which extends to the end of its array.
TEST_P(EveryKind, MayHaveFurtherElementsAfterIt) {
    const XLXSafeArray sample = Sample(GetParam());
    XLXSafeArray array = Cut(sample, CountOf(sample) + 1);
    XLXComVariant::FromI4(7).DetachTo(&ElementOf(array, CountOf(sample)));
    const Raised expected = GetParam() == EKind::AttributeList
                                ? Raised{E_INVALIDARG, "variant type mismatch: expected VT_UNKNOWN", "FromVariant"}
                                : Raised{};
    EXPECT_EQ(Read(GetParam(), std::move(array)), expected);
}

INSTANTIATE_TEST_SUITE_P(Transfer, EveryKind, testing::ValuesIn(AllKinds), testing::PrintToStringParamName());

TEST(TypeArray, MovesItsObjectsAndTakesAnyNumberForTrue) {
    XLXSafeArray array = Sample(EKind::TypeArray);
    V_BOOL(&ElementOf(array, 20)) = 1;
    const long counted = XCountedObject::counted;
    const XILXTypeMap types = GetMapFromArray(std::move(array));
    EXPECT_EQ(XCountedObject::counted, counted) << "objects are moved, not copied";
    EXPECT_TRUE(types.records.at(0).searchable);
}

TEST(TypeArray, TakesTheLaterOfTwoEntriesOfOneKey) {
    XArrayWriter writer(EMappingAlgorithm::Map, EWrapperId::TypeData);
    writer.Put(ULONG{2}, ULONG{2}, OLESTR("Part"), ULONG{7}, OLESTR("Part"), ULONG{9});
    for (const LONG base : std::initializer_list<LONG>{4, 5}) {
        writer.Put(ULONG{9}, NewObject().Get(), LONG{0}, ULONG{0}, ULONG{0}, ULONG{0}, ULONG{0}, base, true, true);
    }
    const XILXTypeMap types = GetMapFromArray(writer.Finish());
    EXPECT_EQ(types.names, (std::map<XLXText, ULONG>{{OLESTR("Part"), 9}}));
    ASSERT_EQ(types.records.size(), 1U);
    EXPECT_EQ(types.records.at(9).baseIndex, 5);
}

TEST(TypeComponents, HaveAListForAnyFlagExceptZero) {
    const XILXTypeComp read =
        GetWrapperFromArray(ArrayOf(LONG{4}, LONG{4}, ULONG{0}, ULONG{0x80000000}, ULONG{0}, LONG{0}, ULONG{0}));
    EXPECT_TRUE(read.groups && !read.pages && !read.editors && !read.attributes);
}

TEST(Values, OfAnyTypeAreMovedUnchanged) {
    XLXComVariant number = XLXComVariant::FromDouble(2.5);
    XLXComVariant nested;
    V_VT(&nested.Get()) = VT_ARRAY | VT_VARIANT;
    SAFEARRAY* const inner = ArrayOf(NewObject().Get(), OLESTR("x")).Detach();
    V_ARRAY(&nested.Get()) = inner;
    const XLXText withNull(OLESTR("a\0b"), 3);
    auto records = GetSingleTypedVecFromArray(
        ArrayOf(LONG{1}, NewObject().Get(), Values(std::move(number), std::move(nested), Text(withNull))));
    const XVariantRow& values = records.at(0).values;
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(V_VT(&values[0].Get()), VT_R8);
    EXPECT_EQ(V_R8(&values[0].Get()), 2.5);
    EXPECT_EQ(V_ARRAY(&values[1].Get()), inner);
    EXPECT_EQ(values[2].AsText(), withNull);
}

// The values of a record outlive its list and are destroyed with the record.
TEST(Values, OfAListAreFreedWithTheirRecord) {
    const long before = lx::liveObjects;
    const auto unknown = [] { return XLXComVariant::FromUnknown(NewObject().Get()); };
    auto records = GetSingleTypedVecFromArray(
        ArrayOf(LONG{2}, XLXComPtr<IUnknown>().Get(), Values(unknown(), Text(OLESTR("one"))),
                XLXComPtr<IUnknown>().Get(), Values(unknown(), unknown(), Text(OLESTR("two")))));
    ASSERT_EQ(lx::liveObjects - before, 3);
    XVariantRow second = std::move(records.at(1).values);
    records.clear();
    EXPECT_EQ(lx::liveObjects - before, 2);
    ASSERT_EQ(second.size(), 3U);
    EXPECT_EQ(second[2].AsText(), OLESTR("two"));
    XLXComVariant value = XLXComVariant::FromI4(7);
    second.Exchange(0, value);
    value.Put();
    EXPECT_EQ(lx::liveObjects - before, 1);
    EXPECT_EQ(second[0].AsLong(), 7);
    second = XVariantRow();
    EXPECT_EQ(lx::liveObjects - before, 0);
}

} // namespace

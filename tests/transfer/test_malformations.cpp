// SPDX-License-Identifier: MIT
//
// Arrays with a single fault: the right exception is raised, the logbook has its place in the array, nothing leaks, and
// wrong counts allocate no memory.
#include "allocations.h"
#include "logcapture.h"
#include "transferfixtures.h"

#include <algorithm>
#include <tuple>

namespace {
/// Replaces an element by a number.
struct Spoiled {
    EKind kind;
    ULONG at;
    VARTYPE type;
    ULONG value;
    const char* text;
    const char* method;
};

constexpr ULONG MostNegative = 0x80000000;
constexpr const char* WrongSize = "wrong safearray size";
constexpr const char* NegativeCount = "vector element count is negative";
constexpr const char* WrongAlgorithm = "wrong mapping algorithm stored in safearray";
constexpr const char* WrongWrapper = "wrong data wrapper id stored in safearray";

constexpr Spoiled SpoiledArrays[] = {
    {EKind::TypeArray, 0, VT_I4, 2, WrongAlgorithm, "GetMapFromArray"},
    {EKind::PCArray, 0, VT_I4, 1, WrongAlgorithm, "GetVecFromArray"},
    {EKind::TypeComponents, 0, VT_I4, 0, WrongAlgorithm, "GetWrapperFromArray"},
    {EKind::TypeArray, 1, VT_I4, 1, WrongWrapper, "GetMapFromArray"},
    {EKind::PCArray, 1, VT_I4, 0, WrongWrapper, "GetVecFromArray"},
    {EKind::TypeComponents, 1, VT_I4, 2, WrongWrapper, "GetWrapperFromArray"},
    {EKind::PCArray, 2, VT_I4, MostNegative, NegativeCount, "VecFromSafeArray"},
    {EKind::TypeArray, 10, VT_I4, 0xFFFFFFFF, NegativeCount, "VecFromSafeArray"},
    {EKind::TypeArray, 30, VT_I4, 0xFFFFFFFF, WrongSize, "SafeArrayFromSafeArray"},
    {EKind::TypeArray, 2, VT_UI4, 40, WrongSize, "GetMapFromArray"},
    {EKind::TypeArray, 3, VT_UI4, 3, WrongSize, "FromSafeArray"},
    {EKind::RecordList, 0, VT_I4, 3, WrongSize, "FromSafeArray"},
    {EKind::RecordList, 5, VT_I4, 1, WrongSize, "VecFromSafeArray"},
    {EKind::AttributeList, 61, VT_I4, 9, WrongSize, "ReadAttributeList"},
    {EKind::TypeArray, 30, VT_I4, 12, WrongSize, "SafeArrayFromSafeArray"},
    {EKind::TypeArray, 2, VT_UI4, 0xFFFFFFFF, WrongSize, "GetMapFromArray"},
    {EKind::TypeComponents, 10, VT_I4, 0x08000000, WrongSize, "SafeArrayFromSafeArray"},
    {EKind::PCArray, 2, VT_I4, 0x7FFFFFFF, WrongSize, "VecFromSafeArray"},
};

TEST(SpoiledArray, IsRefusedWithoutLargeAllocations) {
    for (const Spoiled& row : SpoiledArrays) {
        SCOPED_TRACE(testing::Message() << row.kind << " " << row.at << " " << row.value);
        XLXSafeArray array = Sample(row.kind);
        ASSERT_EQ(V_VT(&ElementOf(array, row.at)), row.type) << "another element of the sample";
        V_UI4(&ElementOf(array, row.at)) = row.value;
        const XAllocationWatch watch;
        EXPECT_EQ(Read(row.kind, std::move(array)), (Raised{E_INVALIDARG, row.text, row.method}));
        EXPECT_LT(watch.Bytes(), 64U * 1024);
    }
}

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

// fuzz/corpus has an array of texts and one of two dimensions for every reader.
TEST(Refusals, OfArraysThatAreNotVariantsInOneDimension) {
    const auto expect = [](XLXSafeArray array, HRESULT code, const char* text) {
        EXPECT_EQ(Read(EKind::RecordList, std::move(array)), (Raised{code, text, "GetSingleTypedVecFromArray"}));
    };
    const auto vector = [](VARTYPE type) { return XLXSafeArray(SafeArrayCreateVector(type, 0, 3)); };
    expect(XLXSafeArray(), E_POINTER, "invalid pointer: array");
    expect(vector(VT_I4), E_INVALIDARG, "wrong safearray vartype");
    XLXSafeArray flat = vector(VT_VARIANT);
    flat.Get()->cDims = 0;
    expect(std::move(flat), DISP_E_BADINDEX, "fSafeArrayGetLBound failed");
    XLXSafeArray untyped = vector(VT_I4);
    untyped.Get()->fFeatures = 0;
    expect(std::move(untyped), E_INVALIDARG, "SafeArrayGetVartype failed");
    XLXSafeArray descriptor; // without elements
    ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, descriptor.Put()), S_OK);
    descriptor.Get()->rgsabound[0] = {1, 0};
    expect(std::move(descriptor), E_INVALIDARG, "wrong safearray size");
}

TEST(Refusals, AreLoggedWithTheirPlaceInTheArray) {
    const auto expectLogged = [](EKind kind, XLXSafeArray array, const std::string& place) {
        const LogCapture log;
        const Raised raised = Read(kind, std::move(array));
        const auto entries = log.Entries();
        ASSERT_EQ(entries.size(), 1U) << place;
        EXPECT_EQ(LXNarrow(entries[0].text), "transfer array refused at element " + place + ": " + raised.text);
        EXPECT_EQ(entries[0].code, E_INVALIDARG);
        EXPECT_EQ(entries[0].severity, XLXError::SeverityError);
        EXPECT_EQ(entries[0].source, "XCFCDataTransfer");
    };
    constexpr std::tuple<EKind, ULONG, const char*> rows[] = {
        {EKind::TypeArray, 1, "1 of 42 (header)"},
        {EKind::TypeArray, 3, "3 of 42 (counts)"},
        {EKind::TypeArray, 6, "6 of 42 (names)"},
        {EKind::TypeArray, 17, "17 of 42 (component flags, type 'Part')"},
        {EKind::TypeArray, 21, "21 of 42 (types)"},
        {EKind::TypeArray, 30, "30 of 42 (editors, type 'Pump')"},
        {EKind::PCArray, 2, "2 of 9 (relations)"},
        {EKind::TypeComponents, 10, "10 of 13 (groups)"},
        {EKind::RecordList, 0, "0 of 6 (records)"},
        {EKind::AttributeList, 69, "69 of 132 (attribute types, attribute 'Power')"},
    };
    for (const auto& [kind, at, place] : rows) {
        XLXSafeArray array = Sample(kind);
        Spoil(array, at, VT_I2);
        expectLogged(kind, std::move(array), place);
    }
    // Only 29 of the 60 values that begin there are left.
    expectLogged(EKind::AttributeList, Cut(Sample(EKind::AttributeList), 100), "71 of 100 (attributes)");
    expectLogged(EKind::TypeArray, XLXSafeArray(SafeArrayCreateVector(VT_I4, 0, 1)), "0 of 0 (header)");
}
} // namespace

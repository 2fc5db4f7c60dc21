// SPDX-License-Identifier: MIT
//
// Arrays with the wrong shape for transfer arrays.
#include "transferfixtures.h"

namespace {
struct Container {
    EKind kind;
    const char* method;
    ULONG least; ///< minimum number of elements
};

std::ostream& operator<<(std::ostream& out, const Container& row) { return out << row.kind; }

constexpr Container Containers[] = {
    {EKind::TypeArray, "GetMapFromArray", 2},          {EKind::PCArray, "GetVecFromArray", 2},
    {EKind::TypeComponents, "GetWrapperFromArray", 2}, {EKind::RecordList, "GetSingleTypedVecFromArray", 1},
    {EKind::AttributeList, "ReadAttributeList", 0},
};

XLXSafeArray Create(VARTYPE type, std::initializer_list<ULONG> sizes) {
    std::vector<SAFEARRAYBOUND> bounds;
    for (const ULONG size : sizes) {
        bounds.push_back({size, 0});
    }
    return XLXSafeArray(SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data()));
}

class AnyContainer : public testing::TestWithParam<Container> {
protected:
    Raised Refusal(XLXSafeArray array) const { return Read(GetParam().kind, std::move(array)); }
    Raised Expected(HRESULT code, const char* text) const { return {code, text, GetParam().method}; }
};

TEST_P(AnyContainer, MustBeThere) { EXPECT_EQ(Refusal(XLXSafeArray()), Expected(E_POINTER, "invalid pointer: array")); }

TEST_P(AnyContainer, MustHoldVariantsInOneDimension) {
    for (const VARTYPE type : {VT_BSTR, VT_I4, VT_UNKNOWN}) {
        EXPECT_EQ(Refusal(Create(type, {8})), Expected(E_INVALIDARG, "wrong safearray vartype")) << type;
    }
    EXPECT_EQ(Refusal(Create(VT_VARIANT, {8, 1})), Expected(E_INVALIDARG, "wrong safearray vartype"));
    EXPECT_EQ(Refusal(Create(VT_VARIANT, {2, 3, 4})), Expected(E_INVALIDARG, "wrong safearray vartype"));
}

TEST_P(AnyContainer, MustHaveItsFirstElements) {
    for (ULONG count = 0; count < GetParam().least; ++count) {
        EXPECT_EQ(Refusal(Create(VT_VARIANT, {count})), Expected(E_INVALIDARG, "wrong safearray size")) << count;
    }
}

TEST_P(AnyContainer, MustAnswerForItsBoundsAndItsType) {
    XLXSafeArray flat = Create(VT_VARIANT, {3});
    flat.Get()->cDims = 0;
    EXPECT_EQ(Refusal(std::move(flat)), Expected(DISP_E_BADINDEX, "fSafeArrayGetLBound failed"));
    XLXSafeArray untyped = Create(VT_I4, {3});
    untyped.Get()->fFeatures = 0;
    EXPECT_EQ(Refusal(std::move(untyped)), Expected(E_INVALIDARG, "SafeArrayGetVartype failed"));
}

#ifdef _WIN32
TEST_P(AnyContainer, MustHaveItsElements) {
    XLXSafeArray descriptor;
    ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, descriptor.Put()), S_OK);
    descriptor.Get()->rgsabound[0] = {3, 0};
    EXPECT_EQ(Refusal(std::move(descriptor)), Expected(E_INVALIDARG, "wrong safearray size"));
}
#endif

INSTANTIATE_TEST_SUITE_P(Transfer, AnyContainer, testing::ValuesIn(Containers), testing::PrintToStringParamName());
} // namespace

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

TEST(Containers, MustBeVariantsInOneDimensionWithTheirFirstElements) {
    for (const auto& [kind, method, least] : Containers) {
        const auto expect = [&, kind = kind, method = method](XLXSafeArray array, HRESULT code, const char* text) {
            EXPECT_EQ(Read(kind, std::move(array)), (Raised{code, text, method})) << kind;
        };
        expect(XLXSafeArray(), E_POINTER, "invalid pointer: array");
        for (const VARTYPE type : {VT_BSTR, VT_I4, VT_UNKNOWN}) {
            expect(Create(type, {8}), E_INVALIDARG, "wrong safearray vartype");
        }
        expect(Create(VT_VARIANT, {8, 1}), E_INVALIDARG, "wrong safearray vartype");
        for (ULONG count = 0; count < least; ++count) {
            expect(Create(VT_VARIANT, {count}), E_INVALIDARG, "wrong safearray size");
        }
        XLXSafeArray flat = Create(VT_VARIANT, {3});
        flat.Get()->cDims = 0;
        expect(std::move(flat), DISP_E_BADINDEX, "fSafeArrayGetLBound failed");
        XLXSafeArray untyped = Create(VT_I4, {3});
        untyped.Get()->fFeatures = 0;
        expect(std::move(untyped), E_INVALIDARG, "SafeArrayGetVartype failed");
#ifdef _WIN32
        XLXSafeArray descriptor; // without elements
        ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, descriptor.Put()), S_OK);
        descriptor.Get()->rgsabound[0] = {3, 0};
        expect(std::move(descriptor), E_INVALIDARG, "wrong safearray size");
#endif
    }
}
} // namespace

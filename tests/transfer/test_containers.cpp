// SPDX-License-Identifier: MIT
//
// Arrays with the wrong shape for transfer arrays.
#include "transferfixtures.h"

namespace {
constexpr std::pair<EKind, const char*> Readers[] = {
    {EKind::TypeArray, "GetMapFromArray"},          {EKind::PCArray, "GetVecFromArray"},
    {EKind::TypeComponents, "GetWrapperFromArray"}, {EKind::RecordList, "GetSingleTypedVecFromArray"},
    {EKind::AttributeList, "ReadAttributeList"},
};

XLXSafeArray Create(VARTYPE type, ULONG size, UINT dimensions = 1) {
    SAFEARRAYBOUND bounds[] = {{size, 0}, {1, 0}};
    return XLXSafeArray(SafeArrayCreate(type, dimensions, bounds));
}

TEST(Containers, MustBeVariantsInOneDimension) {
    for (const auto& [kind, method] : Readers) {
        const auto expect = [&, kind = kind, method = method](XLXSafeArray array, HRESULT code, const char* text) {
            EXPECT_EQ(Read(kind, std::move(array)), (Raised{code, text, method})) << kind;
        };
        expect(XLXSafeArray(), E_POINTER, "invalid pointer: array");
        for (const VARTYPE type : {VT_BSTR, VT_I4, VT_UNKNOWN}) {
            expect(Create(type, 8), E_INVALIDARG, "wrong safearray vartype");
        }
        expect(Create(VT_VARIANT, 8, 2), E_INVALIDARG, "wrong safearray vartype");
        XLXSafeArray flat = Create(VT_VARIANT, 3);
        flat.Get()->cDims = 0;
        expect(std::move(flat), DISP_E_BADINDEX, "fSafeArrayGetLBound failed");
        XLXSafeArray untyped = Create(VT_I4, 3);
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

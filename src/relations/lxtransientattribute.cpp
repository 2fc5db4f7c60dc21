// SPDX-License-Identifier: MIT
#include "lxtransientattribute.h"

namespace {
constexpr int MemberName = 0;
constexpr int MemberConstantText = 41; // writes are accepted and ignored

// clang-format off
constexpr XTransientProperty Properties[] = {
    {MemberName, VT_BSTR}, {MemberConstantText, VT_BSTR}, {36, VT_BSTR, 0, OLESTR("Foldername")}, {47, VT_BSTR},
    {2, VT_BSTR}, {4, VT_BSTR}, {5, VT_BSTR}, {37, VT_BSTR}, {40, VT_BSTR}, {42, VT_BSTR}, {43, VT_BSTR}, {49, VT_BSTR},
    {7, VT_BOOL, 1}, {29, VT_BOOL, 1},
    {8, VT_BOOL}, {9, VT_BOOL}, {19, VT_BOOL}, {22, VT_BOOL}, {23, VT_BOOL}, {24, VT_BOOL}, {26, VT_BOOL}, {27, VT_BOOL},
    {28, VT_BOOL}, {30, VT_BOOL}, {31, VT_BOOL}, {32, VT_BOOL}, {34, VT_BOOL}, {44, VT_BOOL}, {45, VT_BOOL}, {48, VT_BOOL},
    {6, VT_I4, 1},
    {10, VT_I4}, {11, VT_I4}, {12, VT_I4}, {15, VT_I4}, {17, VT_I4}, {20, VT_I4}, {21, VT_I4}, {35, VT_I4}, {46, VT_I4},
    {33, VT_I4, 64}, {39, VT_I4, 5}, {3, VT_I4}, {1, VT_I4, 2},
    {13, VT_R8}, {14, VT_R8}};
// clang-format on

constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) {
    return LXHere("lxtransientattribute", "XLXTransientAttribute", method, line);
}

constexpr XTransientFacts Facts{Properties, At("Get"), At("Get")};
} // namespace

XLXTransientAttribute::XLXTransientAttribute(XLXTextView name) : XLXTransientObject(Facts) {
    Store(MemberName, XLXComVariant::FromBstr(name));
}

HRESULT XLXTransientAttribute::SetProperty(int iLXCF_Member, VARIANT varValue) {
    return XLXError::Guarded(At("Set"), [&]() -> HRESULT {
        const auto place = Find(iLXCF_Member);
        if (!place) { RaiseUnknownIndex(iLXCF_Member, At("Set")); }
        XLXComVariant value;
        if (FAILED(VariantChangeType(value.Put(), &varValue, 0, Properties[*place].type))) {
            XLXError::Raise(E_INVALIDARG, OLESTR("the value cannot be converted to the property's type"), At("Set"));
        }
        if (iLXCF_Member != MemberConstantText) { Store(iLXCF_Member, std::move(value)); }
        return S_OK;
    });
}

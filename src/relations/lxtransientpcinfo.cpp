// SPDX-License-Identifier: MIT
#include "lxtransientpcinfo.h"

namespace {
constexpr int MemberBrowser = 1;
constexpr int MemberIsNew = 6;
constexpr int MemberCount = 10;

// Index 8 has no answer; in a cached PC info it is 0.
constexpr XTransientProperty Properties[] = {
    {0, VT_BSTR},  {MemberBrowser, VT_BSTR}, {2, VT_I4, 0}, {3, VT_BSTR}, {4, VT_I4, 1},
    {5, VT_I4, 1}, {MemberIsNew, VT_I4, 0},  {7, VT_I4, 0}, {9, VT_BSTR}};

XLXComVariant ValueOf(const XTransientProperty& property, XLXTextView browserId, bool isNew) {
    switch (property.index) {
    case MemberBrowser: return XLXComVariant::FromBstr(browserId);
    case MemberIsNew: return XLXComVariant::FromI4(isNew ? 1 : 0);
    default: return property.Value();
    }
}
} // namespace

HRESULT XLXTransientPCInfo::GetProperty(int iLXCF_Member, VARIANT* pvarValue) {
    const auto at = [](int line) { return LXHere("lxtransientpcinfo", "XLXTransientPCInfo", "Get", line); };
    return HandOutProperty(Properties, iLXCF_Member, pvarValue, at(61), at(107),
                           [&](const XTransientProperty& property) { return ValueOf(property, m_browserId, m_isNew); });
}

XLXVariantVector XLXTransientPCInfo::Values(XLXTextView browserId, bool isNew) {
    XLXVariantVector values;
    for (int index = 0; index < MemberCount; ++index) {
        const XTransientProperty* const property = LXFindProperty(Properties, index);
        values.push_back(property != nullptr ? ValueOf(*property, browserId, isNew) : XLXComVariant::FromI4(0));
    }
    return values;
}

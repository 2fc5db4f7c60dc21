// SPDX-License-Identifier: MIT
#include "lxtransientpcinfo.h"

namespace {
constexpr int MemberBrowser = 1;
constexpr int MemberIsNew = 6;
constexpr int MemberCount = 10;

// Index 8 is missing; in a cached PC info it is 0.
constexpr XTransientProperty Properties[] = {
    {0, VT_BSTR},  {MemberBrowser, VT_BSTR}, {2, VT_I4, 0}, {3, VT_BSTR}, {4, VT_I4, 1},
    {5, VT_I4, 1}, {MemberIsNew, VT_I4, 0},  {7, VT_I4, 0}, {9, VT_BSTR}};

constexpr LXErrorLocation At(int line) { return LXHere("lxtransientpcinfo", "XLXTransientPCInfo", "Get", line); }

constexpr XTransientFacts Facts{Properties, At(61), At(107)};
} // namespace

XLXTransientPCInfo::XLXTransientPCInfo(XLXTextView browserId, bool isNew) : XLXTransientObject(Facts) {
    Store(MemberBrowser, XLXComVariant::FromBstr(browserId));
    Store(MemberIsNew, XLXComVariant::FromI4(isNew ? 1 : 0));
}

XLXVariantVector XLXTransientPCInfo::Values(XLXTextView browserId, bool isNew) {
    const XLXTransientPCInfo info(browserId, isNew);
    XLXVariantVector values;
    for (int index = 0; index < MemberCount; ++index) {
        const auto place = info.Find(index);
        values.push_back(place ? info.ValueAt(*place) : XLXComVariant::FromI4(0));
    }
    return values;
}

// SPDX-License-Identifier: MIT
#include "XRelationSource.h"

#include "XLXComBSTR.h"
#include "lxcfctools.h"
#include "lxparentchildcache.h"

namespace {
constexpr ULONG Batch = 31;
constexpr LXErrorLocation At() {
    return {"lxpcpartcachemng", "XLXPCPartCacheMng", "GetServerRelation", LX_CURRENT_LINE};
}

bool HasText(ILXParentChild& relation, int member, XLXTextView text) {
    XLXComVariant value;
    return LXAskProperty(relation, member, value) == S_OK && value.AsText() == text;
}
} // namespace

XLXComPtr<IUnknown> XRelationSource::Ask() const {
    const auto factory = (*m_factory)();
    if (!factory) { return {}; }
    return LXFindListed<Batch, ILXParentChild, ILXParentChildEnum>(
        "ILXConfigFactory::GetParentChildEnum", "ILXParentChildEnum::RemNext",
        OLESTR("the server failed to give one of its objects"), At(),
        [&](ILXParentChildEnum** out) {
            return factory->GetParentChildEnum(XLXComBSTR(m_names[0]).Get(), nullptr, out);
        },
        [&](ILXParentChild& relation) {
            return HasText(relation, LXRM_CHILDNAME, m_names[1]) && HasText(relation, LXRM_CHILDLISTNAME, m_names[2]);
        });
}

// SPDX-License-Identifier: MIT
#include "XRelationSource.h"

#include "XLXComBSTR.h"
#include "lxcfctools.h"
#include "lxparentchildcache.h"

namespace {
constexpr ULONG Batch = 31;
constexpr const OLECHAR* FailureText = OLESTR("the server failed to give one of its objects");
constexpr LXErrorLocation At() {
    return {"lxpcpartcachemng", "XLXPCPartCacheMng", "GetServerRelation", LX_CURRENT_LINE};
}

bool HasText(ILXParentChild& relation, int member, XLXTextView text) {
    XLXComVariant value;
    return LXAskProperty(relation, member, value) == S_OK && value.AsText() == text;
}
} // namespace

XLXComPtr<IUnknown> XRelationSource::Ask() const {
    constexpr const char* method = "ILXConfigFactory::GetParentChildEnum";
    const auto factory = (*m_factory)();
    if (!factory) { return {}; }
    XLXComPtr<ILXParentChildEnum> relations;
    const HRESULT result = LXAsk(method, relations, LXNoResult::Nothing, {}, At(), [&](ILXParentChildEnum** out) {
        return factory->GetParentChildEnum(XLXComBSTR(m_names[0]).Get(), nullptr, out);
    });
    XLXError::RaiseIfFailed(result, FailureText, At());
    XLXComPtr<IUnknown> found;
    const auto visit = [&](XLXComPtr<ILXParentChild>&& relation) {
        if (!found && HasText(*relation, LXRM_CHILDNAME, m_names[1]) &&
            HasText(*relation, LXRM_CHILDLISTNAME, m_names[2])) {
            found = std::move(relation);
        }
    };
    if (relations) {
        XLXError::RaiseIfFailed(LXForEachOf<Batch, ILXParentChild>(*relations, method, At(), visit), FailureText, At());
    }
    return found;
}

// SPDX-License-Identifier: MIT
#include "lxparentchildcacheinherited.h"

#include "XInstanceRegistry.h"
#include "XLXTransientObject.h"
#include "XModuleState.h"
#include "relationmembers.h"

namespace {
constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) {
    return LXHere("lxparentchildcacheinherited", "XLXParentChildCacheInherited", method, line);
}

XInstanceRegistry<ILXParentChild>& LiveInherited() {
    static const XModuleState<XInstanceRegistry<ILXParentChild>> registry;
    return *registry;
}
} // namespace

XLXParentChildCacheInherited::XLXParentChildCacheInherited(XLXComPtr<ILXParentChild> base) : m_base(std::move(base)) {
    XLXError::CheckPointer(m_base.Get(), OLESTR("base relation"), At("XLXParentChildCacheInherited"));
    // The base of an inherited relation is not inherited, so one step reaches the root.
    if (LiveInherited().Contains(m_base.Get())) {
        m_base = XLXComPtr<ILXParentChild>(static_cast<const XLXParentChildCacheInherited*>(m_base.Get())->m_base);
    }
    LiveInherited().Add(this);
}

XLXParentChildCacheInherited::~XLXParentChildCacheInherited() { LiveInherited().Remove(this); }

HRESULT XLXParentChildCacheInherited::RefuseNullFace() noexcept {
    return XLXError::RefusePointer(OLESTR("ppv"), At("QueryInterface"));
}

HRESULT XLXParentChildCacheInherited::GetProperty(int iLXCF_Member, VARIANT* pvarValue) {
    return XLXError::Guarded(At("GetProperty"), [&] {
        XLXError::CheckPointer(pvarValue, OLESTR("pvarValue"), At("GetProperty"));
        if (iLXCF_Member != LXRM_CHILDNAME && iLXCF_Member != LXRM_PARENTNAME) {
            return m_base->GetProperty(iLXCF_Member, pvarValue);
        }
        return LXHandOutValue(XLXComVariant::FromBstr(iLXCF_Member == LXRM_CHILDNAME ? m_childName : m_parentName),
                              pvarValue);
    });
}

HRESULT XLXParentChildCacheInherited::SetProperty(int iLXCF_Member, VARIANT varValue) {
    return m_base->SetProperty(iLXCF_Member, varValue);
}

HRESULT XLXParentChildCacheInherited::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) { return m_base->GetPCInfoEnum(ppEnum); }

HRESULT XLXParentChildCacheInherited::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) {
    return m_base->GetPCInfo(bstrBrowserId, ppPCInfo);
}

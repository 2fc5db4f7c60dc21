// SPDX-License-Identifier: MIT
#include "lxparentchildcacheinherited.h"

#include "lxparentchildcache.h"

namespace {
constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) {
    return LXHere("lxparentchildcacheinherited", "XLXParentChildCacheInherited", method, line);
}
} // namespace

XLXParentChildCacheInherited::XLXParentChildCacheInherited(XLXComPtr<ILXParentChild> base) : m_base(std::move(base)) {
    XLXError::CheckPointer(m_base.Get(), OLESTR("base relation"), At("XLXParentChildCacheInherited"));
}

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

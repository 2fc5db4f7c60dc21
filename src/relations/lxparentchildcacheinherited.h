// SPDX-License-Identifier: MIT
//
// A relation that a derived type inherits from a relation of a base type.
//
// Ownership  It keeps the relation that it inherits from alive.
// Threading  Any thread may call; the two names are set before the relation is handed out.
#ifndef LXPARENTCHILDCACHEINHERITED_H
#define LXPARENTCHILDCACHEINHERITED_H

#include "XLXComVariant.h"
#include "XPropertyMethods.h"
#include "XUnknown.h"

#include <concepts>

/// It answers its own parent and child name, and hands everything else to the base relation: writes too, so that they
/// change the relation that is inherited.
class XLXParentChildCacheInherited final
    : public XPropertyMethods<XUnknown<XLXParentChildCacheInherited, ILXParentChild>, EConfigElementKind::Relation> {
public:
    /// @param base  the relation to inherit from
    explicit XLXParentChildCacheInherited(XLXComPtr<ILXParentChild> base);
    /// @param inherited  a relation that is itself inherited: the new one inherits from the one at its root
    template <std::same_as<XLXParentChildCacheInherited> Self>
    explicit XLXParentChildCacheInherited(const XLXComPtr<Self>& inherited)
        : XLXParentChildCacheInherited(inherited->m_base) {}

    static HRESULT RefuseNullFace() noexcept;

    // ILXConfigObject
    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override;
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override {
        return m_base->SetProperty(iLXCF_Member, varValue);
    }

    // ILXParentChild
    HRESULT STDMETHODCALLTYPE AddPCInfo(ILXPCInfo** ppPCInfo) override { return LXNotOffered(ppPCInfo); }
    HRESULT STDMETHODCALLTYPE RemovePCInfo(ILXPCInfo*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override { return m_base->GetPCInfoEnum(ppEnum); }
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override {
        return m_base->GetPCInfo(bstrBrowserId, ppPCInfo);
    }

    // For the creator
    void SetNames(XLXTextView parentName, XLXTextView childName) {
        m_parentName = parentName;
        m_childName = childName;
    }

private:
    const XLXComPtr<ILXParentChild> m_base;
    XLXText m_parentName;
    XLXText m_childName;
};

#endif

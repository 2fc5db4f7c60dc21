// SPDX-License-Identifier: MIT
//
// A relation of a derived type, inherited from a relation of a base type.
//
// Ownership  Holds a reference to the base relation.
// Threading  Thread-safe; the creator sets both names before it returns the relation to a client.
#ifndef LXPARENTCHILDCACHEINHERITED_H
#define LXPARENTCHILDCACHEINHERITED_H

#include "XLXComVariant.h"
#include "XPropertyMethods.h"
#include "XUnknown.h"

#include <concepts>

/// Has its own parent and child names and forwards everything else to the base relation. Writes are forwarded too, so
/// they change the base relation.
class XLXParentChildCacheInherited final
    : public XPropertyMethods<XUnknown<XLXParentChildCacheInherited, ILXParentChild>, EConfigElementKind::Relation> {
public:
    /// @param base  the relation to inherit from
    explicit XLXParentChildCacheInherited(XLXComPtr<ILXParentChild> base);
    /// @param inherited  an inherited relation; the new one inherits from the same base relation
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

    // For the creator:
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

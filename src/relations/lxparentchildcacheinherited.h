// SPDX-License-Identifier: MIT
//
// A relation that a derived type inherits from a relation of a base type.
//
// Ownership  It keeps the relation that it inherits from alive.
// Threading  Any thread may call; the two names are set before the relation is handed out.
#ifndef LXPARENTCHILDCACHEINHERITED_H
#define LXPARENTCHILDCACHEINHERITED_H

#include "XLXComPtr.h"
#include "XLXError.h"
#include "XPropertyMethods.h"
#include "XUnknown.h"

/// It answers its own parent and child name, and hands everything else to the base relation: writes too, so that they
/// change the relation that is inherited.
class XLXParentChildCacheInherited final
    : public XPropertyMethods<XUnknown<XLXParentChildCacheInherited, ILXParentChild>, EConfigElementKind::Relation> {
public:
    /// @param base  the relation to inherit from; of one that is itself inherited, the one at its root
    explicit XLXParentChildCacheInherited(XLXComPtr<ILXParentChild> base);
    ~XLXParentChildCacheInherited();

    static HRESULT RefuseNullFace() noexcept;

    // ILXConfigObject
    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override;
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override;

    // ILXParentChild
    HRESULT STDMETHODCALLTYPE AddPCInfo(ILXPCInfo** ppPCInfo) override { return LXNotOffered(ppPCInfo); }
    HRESULT STDMETHODCALLTYPE RemovePCInfo(ILXPCInfo*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override;

    // For the creator
    void SetNames(XLXTextView parentName, XLXTextView childName) {
        m_parentName = parentName;
        m_childName = childName;
    }

private:
    XLXText m_parentName;
    XLXText m_childName;
    XLXComPtr<ILXParentChild> m_base;
};

#endif

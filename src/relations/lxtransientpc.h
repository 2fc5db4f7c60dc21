// SPDX-License-Identifier: MIT
//
// A relation without a server object, which exists because plan types allow it.
//
// Ownership  Its lifetime does not depend on references. There is one for each manager, parent, child, short name and
//            set of PC infos. It lives until the module is unloaded, and each reference keeps the module loaded. When
//            its manager is destroyed, the next manager that needs such a relation reuses it.
// Threading  Thread-safe.
#ifndef LXTRANSIENTPC_H
#define LXTRANSIENTPC_H

#include "XLXTransientObject.h"
#include "XRelationHost.h"

#include <array>

class XLXTransientPC final
    : public XLXTransientObject<XModuleReferences<XLXTransientPC, ILXParentChild>, EConfigElementKind::Relation> {
public:
    using Owner = XWeakLink<XPCInfoRegistry>;

    using Names = std::array<XLXText, 3>; ///< parent, child and short name
    /// The child list of all transient relations. Writes to it are ignored.
    static constexpr const OLECHAR* ChildList = OLESTR("nodes");

    XLXTransientPC(Owner owner, const Names& names, bool newRelations);

    /// The relation with these names.
    static XLXComPtr<ILXParentChild> For(const XRelationHost& host, XLXTextView parent,
                                         const XRelationHost::PlanTypeRelation& relation, bool newRelations);
    /// Call when a manager is destroyed. Its relations no longer return PC infos, and other managers may reuse them.
    static void Disown(const XRelationHost& host) noexcept;

    // ILXConfigObject
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override;

    // ILXParentChild
    HRESULT STDMETHODCALLTYPE AddPCInfo(ILXPCInfo** ppPCInfo) override { return LXNotOffered(ppPCInfo); }
    HRESULT STDMETHODCALLTYPE RemovePCInfo(ILXPCInfo*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override;

private:
    void Renew(Owner owner, const Names& names);
    /// Returns the result of ask(manager); S_FALSE if the manager is gone.
    HRESULT AskOwner(const char* method, const OLECHAR* outName, auto** out, auto&& ask) const;

    Owner m_owner LX_GUARDED_BY(m_mutex);
    const bool m_newRelations; // selects the set of PC infos
};

#endif

// SPDX-License-Identifier: MIT
//
// A relation that exists in this process alone: what plan types allow.
//
// Ownership  Its life does not depend on references. There is one for each manager, parent, child, short name and
//            flag, and it lives as long as the module is loaded; each reference keeps the module loaded. When its
//            manager goes, the next manager that needs such a relation takes it over.
// Threading  Any thread may call.
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
    /// The child list of all of them, whatever is written to it.
    static constexpr const OLECHAR* ChildList = OLESTR("nodes");

    XLXTransientPC(Owner owner, const Names& names, bool flag);

    /// The relation with these names.
    static XLXComPtr<ILXParentChild> For(const XRelationHost& host, XLXTextView parent,
                                         const XRelationHost::PlanTypeRelation& relation, bool flag);
    /// A manager goes: its relations answer no PC infos any more, and wait for the next one.
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
    /// Answers with what the manager answers: ask(manager).
    HRESULT AskOwner(const char* method, const OLECHAR* outName, auto** out, auto&& ask) const;

    Owner m_owner;     // guarded as the values are
    const bool m_flag; // which generation of PC infos answers
};

#endif

// SPDX-License-Identifier: MIT
#include "lxtransientpc.h"

#include "XModuleState.h"
#include "lxparentchildcache.h"

#include <map>
#include <tuple>

namespace {
// clang-format off
constexpr XTransientProperty Properties[] = {
    {LXRM_CHILDLISTNAME, VT_BSTR, 0, XLXTransientPC::ChildList},
    {LXRM_CHILDNAME, VT_BSTR}, {LXRM_PARENTNAME, VT_BSTR}, {LXRM_NAMESHORT, VT_BSTR},
    {2, VT_BSTR}, {3, VT_BSTR}, {23, VT_BSTR}, {28, VT_BSTR},
    {4, VT_I4}, {LXRM_PPRRELATIONTYPE, VT_I4}, {27, VT_I4}, {29, VT_I4}, {34, VT_I4},
    {12, VT_BOOL, 1}, {15, VT_BOOL, 1},
    {8, VT_BOOL}, {9, VT_BOOL}, {10, VT_BOOL}, {11, VT_BOOL}, {13, VT_BOOL}, {LXRM_SYSTEMINTERNAL, VT_BOOL},
    {17, VT_BOOL}, {26, VT_BOOL}, {30, VT_BOOL}, {31, VT_BOOL}, {32, VT_BOOL}, {33, VT_BOOL}, {35, VT_BOOL},
    {36, VT_BOOL}};
// clang-format on

constexpr LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) {
    return LXHere("lxtransientpc", "XLXTransientPC", method, line);
}

constexpr XTransientFacts Facts{Properties, At("Get", 67), std::nullopt};

/// The writable properties, in the order of Names.
constexpr std::array Written{LXRM_PARENTNAME, LXRM_CHILDNAME, LXRM_NAMESHORT};

/// All transient relations of the module, by manager (null: unowned), names and newRelations.
struct Pool {
    using Key = std::tuple<const XRelationHost*, XLXTransientPC::Names, bool>;

    XLeafMutex mutex;
    std::multimap<Key, std::unique_ptr<XLXTransientPC>> relations LX_GUARDED_BY(mutex);

    /// Changes the owner of a relation.
    auto Reassign(decltype(relations)::const_iterator relation, const XRelationHost* host) LX_NEEDS(mutex) {
        auto node = relations.extract(relation);
        std::get<0>(node.key()) = host;
        return relations.insert(std::move(node));
    }
};

Pool& ThePool() {
    static const XModuleState<Pool> pool;
    return *pool;
}
} // namespace

XLXComPtr<ILXParentChild> XLXTransientPC::For(const XRelationHost& host, XLXTextView parent,
                                              const XRelationHost::PlanTypeRelation& relation, bool newRelations) {
    const Names names{XLXText(parent), relation.childType, relation.nameShort};
    const Pool::Key key(&host, names, newRelations);
    const Pool::Key unowned(nullptr, names, newRelations);
    Pool& pool = ThePool();
    const XLeafLock lock(pool.mutex);
    auto found = pool.relations.find(key);
    if (found == pool.relations.end()) {
        const auto free = pool.relations.find(unowned);
        found = free != pool.relations.end()
                    ? pool.Reassign(free, &host)
                    : pool.relations.emplace(key, std::make_unique<XLXTransientPC>(Owner(), Names(), newRelations));
    }
    found->second->Renew(host.PCInfoLink(), names);
    return found->second.get();
}

void XLXTransientPC::Disown(const XRelationHost& host) noexcept {
    Pool& pool = ThePool();
    const XLeafLock lock(pool.mutex);
    for (auto next = pool.relations.begin(); next != pool.relations.end();) {
        const auto relation = next++;
        if (std::get<0>(relation->first) == &host) { pool.Reassign(relation, nullptr); }
    }
}

XLXTransientPC::XLXTransientPC(Owner owner, const Names& names, bool newRelations)
    : XLXTransientObject(Facts), m_newRelations(newRelations) {
    Renew(std::move(owner), names);
}

// Resets the names, because a previous caller may have written to the relation.
void XLXTransientPC::Renew(Owner owner, const Names& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        Store(Written[i], XLXComVariant::FromBstr(names[i]));
    }
    const XLeafLock lock(m_mutex);
    std::swap(m_owner, owner);
}

HRESULT XLXTransientPC::SetProperty(int iLXCF_Member, VARIANT varValue) {
    return XLXError::Guarded(At("Set"), [&]() -> HRESULT {
        if (!Find(iLXCF_Member)) { RaiseUnknownIndex(iLXCF_Member, At("Set", 299)); }
        const bool isWritten = std::ranges::find(Written, iLXCF_Member) != Written.end();
        if (!isWritten && iLXCF_Member != LXRM_CHILDLISTNAME) { return S_OK; }
        const auto text = XLXComVariant::CopyOf(varValue).AsText();
        if (!text) { XLXError::Raise(E_INVALIDARG, OLESTR("the value is no text"), At("Set", 299)); }
        if (isWritten) { Store(iLXCF_Member, XLXComVariant::FromBstr(*text)); }
        return S_OK;
    });
}

// Copies the link first: the reference to the owner may be the last one and must be released with no lock held.
HRESULT XLXTransientPC::AskOwner(const char* method, const OLECHAR* outName, auto** out, auto&& ask) const {
    return LXAnswer(At(method), outName, out, [&]() -> HRESULT {
        Owner link;
        {
            const XLeafLock lock(m_mutex);
            link = m_owner;
        }
        const auto owner = link.Lock();
        return owner ? ask(*owner) : S_FALSE;
    });
}

HRESULT XLXTransientPC::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) {
    return AskOwner("GetPCInfoEnum", OLESTR("ppEnum"), ppEnum,
                    [&](XPCInfoRegistry& owner) { return owner.InternalGetPCInfoEnum(ppEnum, m_newRelations); });
}

HRESULT XLXTransientPC::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) {
    return AskOwner("GetPCInfo", OLESTR("ppPCInfo"), ppPCInfo, [&](XPCInfoRegistry& owner) {
        return owner.InternalGetPCInfo(LXBstrView(bstrBrowserId), ppPCInfo, m_newRelations);
    });
}

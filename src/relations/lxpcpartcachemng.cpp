// SPDX-License-Identifier: MIT
#include "lxpcpartcachemng.h"

#include "lxtransientpc.h"
#include "relationmembers.h"

#include <set>

using XLXCFCDataTransfer::XILXPCData;

namespace {
const XLXComVariant& ValueOf(const XVariantRow& values, int member, XLXTextView failureText, int line) {
    if (values.size() <= static_cast<std::size_t>(member)) {
        XLXError::Raise(E_INVALIDARG, failureText, LXPCPartAt("InternalFillParentChildMap", line));
    }
    return values[static_cast<std::size_t>(member)];
}

/// A name among a relation's values; nothing when there is none.
std::optional<XLXText> NameOf(const XLXComVariant& value) { return value.Empty() ? std::nullopt : value.AsText(); }

/// The child list that a caller's name means.
XLXTextView ListName(XLXTextView name) noexcept {
    return name == OLESTR("@@nodes") ? XLXTextView(XLXTransientPC::ChildList) : name;
}

HRESULT HandOut(ILXParentChild* relation, ILXParentChild** out) noexcept {
    XLXComPtr<ILXParentChild>(relation).CopyTo(out);
    return S_OK;
}

bool LetsThrough(LONG filter, bool ppr, bool systemInternal) noexcept {
    return !((filter & LXPCF_PPRONLY) != 0 && !ppr) && !((filter & LXPCF_NOPPR) != 0 && ppr) &&
           !((filter & LXPCF_NOSYSTEMINTERNAL) != 0 && systemInternal);
}
} // namespace

// ---- loading

XLXPCPartCacheMng::XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock) : m_host(host), m_clock(std::move(clock)) {
    m_relations.Begin({m_clock, XAspect::Relations});
}

XLXPCPartCacheMng::~XLXPCPartCacheMng() {
    if (const StatePtr state = m_relations.End({m_clock, XAspect::Relations})) {
        TerminateDropped(*state->relations, Map());
    }
}

XLXPCPartCacheMng::StatePtr XLXPCPartCacheMng::Load() {
    if (StatePtr fresh = m_relations.Fresh()) { return fresh; }
    const auto factory = m_host.ConfigFactoryOf(m_clock, "InternalFillParentChildMap");
    std::exception_ptr failure;
    StatePtr refreshed; // whose relations the answer refreshes
    StatePtr replaced;
    StatePtr state = m_relations.Load(
        {m_clock, XAspect::Relations}, [&] { return LoadOrKeepFailure(*factory, refreshed, failure); },
        [&](const State& loaded, const StatePtr& former) {
            replaced = former;
            if (former != refreshed) // another load came between: it may have dropped some
            {
                for (const auto& [names, entry] : loaded.relations->inOrder) {
                    entry.relation->Attach();
                }
            }
        });
    if (replaced) { TerminateDropped(*replaced->relations, *state->relations); }
    if (failure) {
        std::rethrow_exception(failure); // once
    }
    return state;
}

// After a failure there are no relations, and no further attempt, until a notification comes.
XLXPCPartCacheMng::StatePtr XLXPCPartCacheMng::LoadOrKeepFailure(ILXConfigFactory& factory, StatePtr& refreshed,
                                                                 std::exception_ptr& failure) {
    refreshed = m_relations.Held();
    State state{refreshed ? refreshed->relations : std::make_shared<const Map>()};
    try {
        state = {LoadAllPCRelation(factory, *state.relations), true};
    } catch (const XLXException&) { failure = std::current_exception(); }
    return std::make_shared<const State>(std::move(state));
}

XLXPCPartCacheMng::MapPtr XLXPCPartCacheMng::LoadAllPCRelation(ILXConfigFactory& factory, const Map& former) {
    const LXErrorLocation at = LXPCPartAt("LoadAllPCRelation", 2037);
    const XMoment moment = m_clock->Copy();
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXConfigFactory::GetPCArray", array, LXNoResult::PointerError, OLESTR("relation array"), at,
              [&](SAFEARRAY** out) { return factory.GetPCArray(out); });
    XLXError::RaiseIfFailed(result, OLESTR("GetPCArray failed"), at);

    XRetired retired;
    const auto fresh = std::make_shared<Map>();
    if (result == S_OK) {
        for (XILXPCData& record : XLXCFCDataTransfer::GetVecFromArray(std::move(array))) {
            AddRelation(*fresh, std::move(record), former, moment, retired);
        }
        fresh->inOrder.Settle();
    }
    return fresh;
}

// The values are read from the record, so that loading asks the server once and not once for each relation. Of several
// records with the same names the last one counts, and there is one relation for them.
void XLXPCPartCacheMng::AddRelation(Map& map, XILXPCData record, const Map& former, const XMoment& moment,
                                    XRetired& retired) const {
    const auto value = [&](int member, const OLECHAR* failureText, int line) -> const XLXComVariant& {
        return ValueOf(record.values, member, failureText, line);
    };
    const auto parent = NameOf(value(LXRM_PARENTNAME, OLESTR("pPCCache->GetProperty LXCFPC_parentname"), 1965));
    const auto child = NameOf(value(LXRM_CHILDNAME, OLESTR("pPCCache->GetProperty LXCFPC_childname"), 1970));
    const auto list = NameOf(value(LXRM_CHILDLISTNAME, OLESTR("pPCCache->GetProperty LXCFPC_childlistname"), 1975));
    const auto ppr = value(LXRM_PPRRELATIONTYPE, OLESTR("pPCCache->GetProperty LXCFPC_pprrelationtype"), 1980).AsLong();
    const auto internal =
        value(LXRM_SYSTEMINTERNAL, OLESTR("pPCCache->GetProperty LXCFPC_issysteminternal"), 1991).AsBool();
    if (!parent || !child || !list) {
        XLXError::WriteErrorToLogBook(E_INVALIDARG, XLXError::SeverityError,
                                      OLESTR("a relation without its three names is left out"),
                                      LXPCPartAt("InternalFillParentChildMap"));
        return;
    }
    XLXParentChildCache* const* known = map.byNames.Find({*parent, *child, *list});
    known = known != nullptr ? known : former.byNames.Find({*parent, *child, *list});
    auto relation = LXMakeOrRefresh(XLXComPtr<XLXParentChildCache>(known != nullptr ? *known : nullptr),
                                    std::move(record.object), std::move(record.values), moment, m_clock, retired);
    map.byNames.Set({*parent, *child, *list}, relation.Get());
    map.inOrder.Add({XCFGStringKey(*parent), XCFGStringKey(*child), XCFGStringKey(*list)},
                    {std::move(relation), ppr.value_or(0) != 0, internal.value_or(false)});
}

// Both maps are in the same order. Who still holds a dropped relation goes on reading its values. Allocates nothing, so
// that shutdown cannot fail.
void XLXPCPartCacheMng::TerminateDropped(const Map& former, const Map& kept) noexcept {
    auto next = kept.inOrder.begin();
    for (const auto& [names, entry] : former.inOrder) {
        while (next != kept.inOrder.end() && next->first < names) {
            ++next;
        }
        if (next == kept.inOrder.end() || next->first != names) {
            entry.relation->Detach();
            entry.relation->Terminate();
        }
    }
}

// ---- asking

XLXPCPartCacheMng::MapPtr XLXPCPartCacheMng::Loaded() {
    static const Map none;
    StatePtr state = Load();
    const Map* const relations = state && state->answers ? state->relations.get() : &none;
    return MapPtr(std::move(state), relations);
}

// The relations that are asked for stand in a row, and empty names come first in the order.
template <class Visit>
void XLXPCPartCacheMng::VisitRelations(XLXTextView parentType, XLXTextView childType, Visit&& visit) {
    const MapPtr relations = Loaded();
    const Names first{XCFGStringKey(parentType), XCFGStringKey(childType), {}};
    auto next = std::lower_bound(relations->inOrder.begin(), relations->inOrder.end(), first,
                                 [](const auto& entry, const Names& names) { return entry.first < names; });
    while (next != relations->inOrder.end() && (parentType.empty() || next->first.parent == parentType) &&
           (childType.empty() || next->first.child == childType) && visit(next->first, next->second)) {
        ++next;
    }
}

template <class Take>
void XLXPCPartCacheMng::VisitShown(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter,
                                   Take&& take) {
    const bool newOnly = (filter & LXPCF_NEWONLY) != 0;
    VisitRelations(parentType, childType, [&](const Names& names, const Entry& entry) {
        if (LetsThrough(filter, entry.ppr, entry.systemInternal) &&
            (!browserId.empty() ? static_cast<bool>(entry.relation->FindPCInfo(browserId))
                                : !newOnly || entry.relation->HasPCInfos())) {
            take(names.child, names.list, XLXComPtr<ILXParentChild>(entry.relation));
        }
        return true;
    });
    if ((filter & LXPCF_WITHPLANTYPES) == 0 || !LetsThrough(filter, false, false)) { return; }
    for (const auto& allowed : m_host.InternalGetPlantypeRelations(parentType)) {
        if (childType.empty() || allowed.childType == childType) {
            auto relation = XLXTransientPC::For(m_host, parentType, allowed, newOnly);
            if (ShowsPlanTypes(browserId, newOnly)) {
                take(XCFGStringKey(allowed.childType), XCFGStringKey(XLXTransientPC::ChildList), std::move(relation));
            }
        }
    }
}

/// Whether a browser (empty: any) shows what plan types allow.
bool XLXPCPartCacheMng::ShowsPlanTypes(XLXTextView browserId, bool newOnly) {
    XLXComPtr<ILXPCInfo> info;
    XLXComPtr<ILXPCInfoEnum> infos;
    return !browserId.empty() ? m_host.InternalGetPCInfo(browserId, info.Put(), newOnly) == S_OK
                              : !newOnly || m_host.InternalGetPCInfoEnum(infos.Put(), newOnly) == S_OK;
}

XLXPCPartCacheMng::Relations XLXPCPartCacheMng::Collect(XLXTextView parentType, XLXTextView childType,
                                                        XLXTextView browserId, LONG filter) {
    Relations relations;
    VisitShown(parentType, childType, browserId, filter,
               [&](const auto&, const auto&, auto&& relation) { relations.emplace_back(std::move(relation)); });
    return relations;
}

XLXPCPartCacheMng::Relations XLXPCPartCacheMng::CollectWithBases(XLXTextView parentType, XLXTextView browserId,
                                                                 LONG filter) {
    using Below = std::set<std::pair<XCFGStringKey, XCFGStringKey>>; // child and list
    std::vector<XLXText> levels = m_host.BaseTypeNames(parentType);
    levels.insert(levels.begin(), XLXText(parentType));
    Below nearer;
    Relations relations;
    for (const XLXText& level : levels) {
        Below here;
        VisitShown(level, {}, browserId, filter, [&](const auto& child, const auto& list, auto&& relation) {
            if (!nearer.contains({child, list})) {
                relations.emplace_back(std::move(relation));
                here.emplace(child, list);
            }
        });
        nearer.merge(here);
    }
    return relations;
}

HRESULT XLXPCPartCacheMng::PPRRelationExists(XLXTextView parentType, XLXTextView childType, bool internal) {
    bool exists = false;
    VisitRelations(parentType, childType, [&](const Names&, const Entry& entry) {
        exists = entry.ppr && (internal || !entry.systemInternal);
        return !exists;
    });
    return exists ? S_OK : S_FALSE;
}

HRESULT XLXPCPartCacheMng::First(XLXTextView parentType, XLXTextView childList, ILXParentChild** out) {
    HRESULT result = S_FALSE;
    VisitRelations(parentType, {}, [&](const Names& names, const Entry& entry) {
        result = names.list == ListName(childList) ? HandOut(entry.relation.Get(), out) : S_FALSE;
        return result == S_FALSE;
    });
    return result;
}

HRESULT XLXPCPartCacheMng::Single(XLXTextView parentType, XLXTextView childType, XLXTextView childList,
                                  ILXParentChild** out) {
    const MapPtr relations = Loaded();
    XLXParentChildCache* const* const found = relations->byNames.Find({parentType, childType, ListName(childList)});
    return found != nullptr ? HandOut(*found, out) : S_FALSE;
}

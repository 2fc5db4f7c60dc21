// SPDX-License-Identifier: MIT
#include "lxpcpartcachemng.h"

#include "lxtransientpc.h"

#include <map>

using XLXCFCDataTransfer::XILXPCData;

namespace {
/// The child list for a name that a client passed: "@@nodes" is an alias.
XLXTextView ListName(XLXTextView name) noexcept {
    return name == OLESTR("@@nodes") ? XLXTextView(XLXTransientPC::ChildList) : name;
}

bool LetsThrough(LONG filter, bool ppr, bool systemInternal) noexcept {
    return !((filter & LXPCF_PPRONLY) != 0 && !ppr) && !((filter & LXPCF_NOPPR) != 0 && ppr) &&
           !((filter & LXPCF_NOSYSTEMINTERNAL) != 0 && systemInternal);
}
} // namespace

// ---- loading

XLXPCPartCacheMng::XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock, XRefillPtr refill, XFactorySourcePtr source)
    : m_host(host), m_clock(std::move(clock)), m_refill(std::move(refill)), m_source(std::move(source)) {
    m_relations.Begin({m_clock, XAspect::Relations});
}

XLXPCPartCacheMng::~XLXPCPartCacheMng() {
    if (const MapPtr former = m_relations.End({m_clock, XAspect::Relations})) {
        ForEachDropped(*former, Map(), [](XLXParentChildCache& relation) {
            relation.Detach();
            relation.Terminate();
        });
    }
}

// A failure is published too: until the next notification there are no relations and no further attempts.
XLXPCPartCacheMng::MapPtr XLXPCPartCacheMng::Load() {
    if (MapPtr fresh = m_relations.Fresh()) { return fresh; }
    const auto factory = m_host.ConfigFactoryOf(m_clock, "InternalFillParentChildMap");
    std::exception_ptr failure;
    MapPtr refreshed; // the map whose relations the answer refreshes
    MapPtr replaced;
    MapPtr map = m_relations.Load(
        {m_clock, XAspect::Relations},
        [&](const XStamp& stamp) {
            refreshed = m_relations.Held();
            auto fresh = std::make_shared<Map>();
            LXKeepFailure(failure, [&] { LoadAllPCRelation(*factory, stamp, refreshed.get(), *fresh); });
            if (failure) {
                *fresh = refreshed ? *refreshed : Map();
                fresh->answers = false;
            }
            return fresh;
        },
        [&](const Map& loaded, const MapPtr& former) {
            replaced = former;
            if (former) {
                ForEachDropped(*former, loaded, [](XLXParentChildCache& relation) { relation.Detach(); });
            }
            if (former != refreshed) { // a parallel load published meanwhile and may have detached some
                for (const auto& [names, entry] : loaded.inOrder) {
                    entry.relation->Attach();
                }
            }
        });
    if (replaced) {
        ForEachDropped(*replaced, *map, [](XLXParentChildCache& relation) { relation.Terminate(); });
    }
    LXRaiseKept(failure);
    return map;
}

std::vector<XILXPCData> XLXPCPartCacheMng::AskForRelations(ILXConfigFactory& factory) {
    const LXErrorLocation at = LXPCPartAt("LoadAllPCRelation", 2037);
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXConfigFactory::GetPCArray", array, LXNoResult::PointerError, OLESTR("relation array"), at,
              [&](SAFEARRAY** out) { return factory.GetPCArray(out); });
    XLXError::RaiseIfFailed(result, OLESTR("GetPCArray failed"), at);
    return result == S_OK ? XLXCFCDataTransfer::GetVecFromArray(std::move(array)) : std::vector<XILXPCData>();
}

void XLXPCPartCacheMng::LoadAllPCRelation(ILXConfigFactory& factory, const XStamp& stamp, const Map* former,
                                          Map& fresh) {
    const XMoment moment = m_clock->Copy();
    XRetired retired;
    for (XILXPCData& record : AskForRelations(factory)) {
        AddRelation(fresh, std::move(record), former, {stamp, moment}, retired);
    }
    fresh.inOrder.Settle();
    if (m_refill) { m_refill->SetObjects(fresh.inOrder.size()); }
}

void XLXPCPartCacheMng::RefillRelations() const {
    const MapPtr held = m_relations.Held();
    const auto factory = m_host.ConfigFactoryOf(m_clock, "RefillRelations");
    const XMoment moment = m_clock->Copy();
    XRetired retired;
    for (XILXPCData& record : AskForRelations(*factory)) {
        const auto name = [&](std::size_t member) {
            return XCFGStringKey::Of(record.values[member]).value_or(XCFGStringKey());
        };
        const XCFGStringKey parent = name(LXRM_PARENTNAME);
        const XCFGStringKey child = name(LXRM_CHILDNAME);
        const XCFGStringKey list = name(LXRM_CHILDLISTNAME);
        const auto* const found = held ? held->byNames.Find({parent.Text(), child.Text(), list.Text()}) : nullptr;
        if (found != nullptr) { (*found)->RefillValues(std::move(record.values), moment, retired); }
        retired.Take(std::move(record.object));
    }
}

// Reads names and flags from the record, so that loading needs no call for each relation. Records with the same names
// share one relation; the last of them counts.
void XLXPCPartCacheMng::AddRelation(Map& map, XILXPCData record, const Map* former, const XRequestTime& requested,
                                    XRetired& retired) const {
    const auto value = [&](std::size_t member, const OLECHAR* failureText, int line) {
        if (record.values.size() <= member) {
            XLXError::Raise(E_INVALIDARG, failureText, LXPCPartAt("InternalFillParentChildMap", line));
        }
        return record.values[member];
    };
    auto parent = XCFGStringKey::Of(value(LXRM_PARENTNAME, OLESTR("pPCCache->GetProperty LXCFPC_parentname"), 1965));
    auto child = XCFGStringKey::Of(value(LXRM_CHILDNAME, OLESTR("pPCCache->GetProperty LXCFPC_childname"), 1970));
    auto list =
        XCFGStringKey::Of(value(LXRM_CHILDLISTNAME, OLESTR("pPCCache->GetProperty LXCFPC_childlistname"), 1975));
    const auto ppr = value(LXRM_PPRRELATIONTYPE, OLESTR("pPCCache->GetProperty LXCFPC_pprrelationtype"), 1980).AsLong();
    const auto internal =
        value(LXRM_SYSTEMINTERNAL, OLESTR("pPCCache->GetProperty LXCFPC_issysteminternal"), 1991).AsBool();
    if (!parent || !child || !list) {
        XLXError::WriteErrorToLogBook(E_INVALIDARG, XLXError::SeverityError,
                                      OLESTR("a relation without its three names is left out"),
                                      LXPCPartAt("InternalFillParentChildMap"));
        return;
    }
    const std::array<XLXTextView, 3> names{parent->Text(), child->Text(), list->Text()};
    XLXParentChildCache* const* known = map.byNames.Find(names);
    if (known == nullptr && former != nullptr) { known = former->byNames.Find(names); }
    XServerSourcePtr source =
        m_source && !record.object ? std::make_shared<const XRelationSource>(m_source, names) : nullptr;
    auto relation =
        LXMakeOrRefresh(XLXComPtr<XLXParentChildCache>(known != nullptr ? *known : nullptr), std::move(record.object),
                        std::move(record.values), requested, m_clock, retired, m_refill, std::move(source));
    map.byNames.Set(names, relation.Get());
    map.inOrder.Add({std::move(*parent), std::move(*child), std::move(*list)},
                    {std::move(relation), ppr.value_or(0) != 0, internal.value_or(false)});
}

// Both maps have the same order. A relation that is loaded again is the same object, so few names are compared.
// Allocates nothing, so that shutdown cannot fail.
template <class Visit>
void XLXPCPartCacheMng::ForEachDropped(const Map& former, const Map& kept, Visit&& visit) noexcept {
    auto next = kept.inOrder.begin();
    const auto end = kept.inOrder.end();
    for (const auto& [names, entry] : former.inOrder) {
        const auto isKept = [&, &relation = entry.relation] {
            return next != end && next->second.relation == relation;
        };
        while (!isKept() && next != end && next->first < names) {
            ++next;
        }
        if (isKept()) {
            ++next;
        } else {
            visit(*entry.relation);
        }
    }
}

// ---- queries

XLXPCPartCacheMng::MapPtr XLXPCPartCacheMng::Loaded() {
    static const Map none;
    if (MapPtr map = Load(); map && map->answers) { return map; }
    return MapPtr(MapPtr(), &none);
}

// The requested relations are contiguous, and empty names come first in the order.
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

/// Whether a browser (empty: any) shows the relations that plan types allow.
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
               [&](const auto&, const auto&, XLXComPtr<ILXParentChild> relation) {
                   relations.emplace_back(std::move(relation));
               });
    return relations;
}

XLXPCPartCacheMng::Relations XLXPCPartCacheMng::CollectWithBases(XLXTextView parentType, XLXTextView browserId,
                                                                 LONG filter) {
    std::vector<XLXText> levels = m_host.BaseTypeNames(parentType);
    levels.insert(levels.begin(), XLXText(parentType));
    std::map<std::pair<XCFGStringKey, XCFGStringKey>, const XLXText*> nearest; // nearest level by child and list
    Relations relations;
    for (const XLXText& level : levels) {
        VisitShown(level, {}, browserId, filter,
                   [&](const auto& child, const auto& list, XLXComPtr<ILXParentChild> relation) {
                       if (nearest.try_emplace({child, list}, &level).first->second == &level) {
                           relations.emplace_back(std::move(relation));
                       }
                   });
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
        result = names.list == ListName(childList) ? LXHandOut(entry.relation, out) : S_FALSE;
        return result == S_FALSE;
    });
    return result;
}

HRESULT XLXPCPartCacheMng::Single(XLXTextView parentType, XLXTextView childType, XLXTextView childList,
                                  ILXParentChild** out) {
    const MapPtr relations = Loaded();
    XLXParentChildCache* const* const found = relations->byNames.Find({parentType, childType, ListName(childList)});
    return LXHandOut(XLXComPtr<XLXParentChildCache>(found != nullptr ? *found : nullptr), out);
}

// SPDX-License-Identifier: MIT
//
// How the relation manager loads its relations.
#include "lxpcpartcachemng.h"
#include "lxpcpartchecks.h"
#include "relationmembers.h"

using XLXCFCDataTransfer::XILXPCData;

namespace
{
const XLXComVariant& ValueOf(const XVariantRow& values, int member, XLXTextView failureText, int line)
{
    if (values.size() <= static_cast<std::size_t>(member))
    {
        XLXError::Raise(E_INVALIDARG, failureText, LXPCPartAt("InternalFillParentChildMap", line));
    }
    return values[static_cast<std::size_t>(member)];
}

/// A name among a relation's values; nothing when there is none.
std::optional<XLXText> NameOf(const XLXComVariant& value)
{
    return value.Empty() ? std::nullopt : value.AsText();
}
} // namespace

struct XLXPCPartCacheMng::Names
{
    XLXText parent;
    XLXText child;
    XLXText list;
};

XLXPCPartCacheMng::XLXPCPartCacheMng(XRelationHost& host, XClockPtr clock)
    : XLXPCBaseMng(host), m_clock(std::move(clock))
{
    m_relations.Begin({m_clock, XAspect::Relations});
}

XLXPCPartCacheMng::~XLXPCPartCacheMng()
{
    if (const RelationMapPtr map = m_relations.End({m_clock, XAspect::Relations}))
    {
        TerminateDropped(map->relations.get(), ParentMap());
    }
}

HRESULT XLXPCPartCacheMng::InternalFillParentChildMap()
{
    (void)Load();
    return S_OK;
}

XLXPCPartCacheMng::RelationMapPtr XLXPCPartCacheMng::Load()
{
    if (RelationMapPtr fresh = m_relations.Fresh())
    {
        return fresh;
    }
    const auto factory = Host().ConfigFactoryOf(m_clock, "InternalFillParentChildMap");
    std::exception_ptr failure;
    RelationMapPtr refreshed; // whose relations the answer refreshes
    RelationMapPtr replaced;
    RelationMapPtr map = m_relations.Load(
        {m_clock, XAspect::Relations}, [&] { return LoadOrKeepFailure(*factory, refreshed, failure); },
        [&](const RelationMap& loaded, const RelationMapPtr& former) {
            replaced = former;
            if (former != refreshed && loaded.relations) // another load came between: it may have dropped some
            {
                ForEach(*loaded.relations,
                        [](const auto&, const auto&, const auto&, const Entry& entry) { entry.relation->Attach(); });
            }
        });
    if (replaced && map->relations)
    {
        TerminateDropped(replaced->relations.get(), *map->relations);
    }
    if (failure)
    {
        std::rethrow_exception(failure); // once
    }
    return map;
}

// After a failure there are no relations, and no further attempt, until a notification comes.
XLXPCPartCacheMng::RelationMapPtr
XLXPCPartCacheMng::LoadOrKeepFailure(ILXConfigFactory& factory, RelationMapPtr& refreshed, std::exception_ptr& failure)
{
    refreshed = m_relations.Held();
    try
    {
        return LoadAllPCRelation(factory, refreshed ? refreshed->relations.get() : nullptr);
    }
    catch (const XLXException&)
    {
        failure = std::current_exception();
    }
    return std::make_shared<const RelationMap>(RelationMap{refreshed ? refreshed->relations : nullptr, false});
}

XLXPCPartCacheMng::RelationMapPtr XLXPCPartCacheMng::LoadAllPCRelation(ILXConfigFactory& factory,
                                                                       const ParentMap* former)
{
    const LXErrorLocation at = LXPCPartAt("LoadAllPCRelation", 2037);
    const XMoment moment = m_clock->Copy();
    XLXSafeArray array;
    const HRESULT result =
        LXAsk("ILXConfigFactory::GetPCArray", array, LXNoResult::PointerError, OLESTR("relation array"), at,
              [&](SAFEARRAY** out) { return factory.GetPCArray(out); });
    XLXError::RaiseIfFailed(result, OLESTR("GetPCArray failed"), at);

    XRetired retired;
    auto fresh = std::make_shared<ParentMap>();
    if (result == S_OK)
    {
        *fresh = MakeMap(XLXCFCDataTransfer::GetVecFromArray(std::move(array)), former, moment, retired);
    }
    return std::make_shared<const RelationMap>(RelationMap{std::move(fresh), true});
}

XLXPCPartCacheMng::ParentMap XLXPCPartCacheMng::MakeMap(std::vector<XILXPCData> records, const ParentMap* former,
                                                        const XMoment& moment, XRetired& retired) const
{
    ParentMap map;
    for (XILXPCData& record : records)
    {
        Names names;
        Entry entry;
        if (!ReadNames(record.values, names, entry))
        {
            XLXError::WriteErrorToLogBook(E_INVALIDARG, XLXError::SeverityError,
                                          OLESTR("a relation without its three names is left out"),
                                          LXPCPartAt("InternalFillParentChildMap"));
            continue;
        }
        const auto parent = map.byParent.try_emplace(XCFGStringKey(names.parent)).first;
        const auto child = parent->second.try_emplace(XCFGStringKey(names.child)).first;
        const auto list = child->second.try_emplace(XCFGStringKey(names.list)).first;
        Entry& slot = list->second;
        entry.relation = slot.relation;
        if (!entry.relation && former != nullptr)
        {
            entry.relation = Find(*former, names.parent, names.child, names.list);
        }
        entry.relation = Refresh(std::move(entry.relation), std::move(record), moment, retired);
        slot = std::move(entry);
        map.byNames.insert_or_assign({parent->first.Text(), child->first.Text(), list->first.Text()},
                                     slot.relation.Get());
    }
    return map;
}

XLXComPtr<XLXParentChildCache> XLXPCPartCacheMng::Refresh(XLXComPtr<XLXParentChildCache> relation, XILXPCData record,
                                                          const XMoment& moment, XRetired& retired) const
{
    if (relation)
    {
        relation->TakeRecord(std::move(record.object), std::move(record.values), moment, retired);
        return relation;
    }
    relation = LXCFCTOOLS::Make<XLXParentChildCache>(std::move(record.object), m_clock,
                                                     LXPCPartAt("InternalFillParentChildMap", 1956));
    relation->AssignProperties(std::move(record.values), moment);
    return relation;
}

// The values are read from the record, so that loading asks the server once and not once for each relation.
bool XLXPCPartCacheMng::ReadNames(const XVariantRow& values, Names& names, Entry& entry)
{
    auto parent = NameOf(ValueOf(values, LXRM_PARENTNAME, OLESTR("pPCCache->GetProperty LXCFPC_parentname"), 1965));
    auto child = NameOf(ValueOf(values, LXRM_CHILDNAME, OLESTR("pPCCache->GetProperty LXCFPC_childname"), 1970));
    auto list = NameOf(ValueOf(values, LXRM_CHILDLISTNAME, OLESTR("pPCCache->GetProperty LXCFPC_childlistname"), 1975));
    const auto ppr =
        ValueOf(values, LXRM_PPRRELATIONTYPE, OLESTR("pPCCache->GetProperty LXCFPC_pprrelationtype"), 1980).AsLong();
    const auto internal =
        ValueOf(values, LXRM_SYSTEMINTERNAL, OLESTR("pPCCache->GetProperty LXCFPC_issysteminternal"), 1991).AsBool();
    if (!parent || !child || !list)
    {
        return false;
    }
    names = {std::move(*parent), std::move(*child), std::move(*list)};
    entry.ppr = ppr.value_or(0) != 0;
    entry.systemInternal = internal.value_or(false);
    return true;
}

const XLXPCPartCacheMng::ChildMap* XLXPCPartCacheMng::Below(const ParentMap& map, XLXTextView parent)
{
    const auto children = map.byParent.find(parent);
    return children != map.byParent.end() ? &children->second : nullptr;
}

XLXParentChildCache* XLXPCPartCacheMng::Find(const ParentMap& map, XLXTextView parent, XLXTextView child,
                                             XLXTextView list)
{
    const auto found = map.byNames.find({parent, child, list});
    return found != map.byNames.end() ? found->second : nullptr;
}

// Uses existing keys, so that shutdown allocates nothing. Who still holds a dropped relation goes on reading its
// values.
void XLXPCPartCacheMng::TerminateDropped(const ParentMap* former, const ParentMap& kept) noexcept
{
    if (former == nullptr)
    {
        return;
    }
    ForEach(*former, [&kept](const auto& parent, const auto& child, const auto& list, const Entry& entry) {
        const ChildMap* const below = Below(kept, parent.Text());
        const auto lists = below != nullptr ? below->find(child) : ChildMap::const_iterator();
        if (below == nullptr || lists == below->end() || lists->second.count(list) == 0)
        {
            entry.relation->Detach();
            entry.relation->Terminate();
        }
    });
}

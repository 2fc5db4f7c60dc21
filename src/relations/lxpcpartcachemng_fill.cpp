// SPDX-License-Identifier: MIT
//
// How the relation manager loads its relations, and what it does with change notifications.
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

XLXPCPartCacheMng::~XLXPCPartCacheMng()
{
    TerminateDropped(*Held(), ParentMap());
}

HRESULT XLXPCPartCacheMng::InternalFillParentChildMap()
{
    if (m_filled.IsFilled())
    {
        return S_OK;
    }
    const XFillGuard fill(m_fill);
    if (fill.Reentered() || m_filled.IsFilled())
    {
        return S_OK;
    }
    const auto factory = Host().ConfigFactory("InternalFillParentChildMap");
    const std::uint64_t noted = m_filled.Note();
    try
    {
        LoadAllPCRelation(*factory, noted);
    }
    catch (const XLXException& error)
    {
        if (error.Code() != E_OUTOFMEMORY) // memory may come back without a notification
        {
            KeepFailure(noted);
        }
        throw;
    }
    return S_OK;
}

// There are no relations, and no further attempt, until a notification comes.
void XLXPCPartCacheMng::KeepFailure(std::uint64_t noted)
{
    const XCritProxy<RelationMap> map(m_relations);
    map->answers = false;
    m_filled.SetFilled(noted);
}

void XLXPCPartCacheMng::LoadAllPCRelation(ILXConfigFactory& factory, std::uint64_t noted)
{
    const std::uint64_t epoch = Host().NotificationEpoch().Note();
    XLXSafeArray array;
    LXServerCall("ILXConfigFactory::GetPCArray");
    const HRESULT result = factory.GetPCArray(array.Put());
    XLXError::RaiseIfFailed(result, OLESTR("GetPCArray failed"), LXPCPartAt("LoadAllPCRelation", 2037));

    const ParentMapPtr former = Held();
    auto fresh = std::make_shared<ParentMap>();
    if (result == S_OK)
    {
        *fresh = MakeMap(XLXCFCDataTransfer::GetVecFromArray(std::move(array)), *former, epoch);
    }
    {
        const XCritProxy<RelationMap> map(m_relations);
        // A notification that comes from here on waits for this lock before it walks the relations, and so
        // sees all of them.
        if (Host().NotificationEpoch().Note() != epoch)
        {
            ForEach(*fresh, [](const auto&, const auto&, const auto&, const Entry& entry) {
                entry.relation->InvalidateStore();
            });
        }
        map->relations = fresh; // the former map goes with the local pointer
        map->answers = true;
        m_filled.SetFilled(noted);
    }
    TerminateDropped(*former, *fresh);
}

XLXPCPartCacheMng::ParentMap XLXPCPartCacheMng::MakeMap(std::vector<XILXPCData> records,
                                                        const ParentMap& former, std::uint64_t epoch) const
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
        Entry& slot =
            map.byParent[XCFGStringKey(names.parent)][XCFGStringKey(names.child)][XCFGStringKey(names.list)];
        entry.relation = slot.relation ? slot.relation : Find(former, names.parent, names.child, names.list);
        entry.relation = Refresh(std::move(entry.relation), std::move(record), epoch);
        slot = std::move(entry);
        map.byNames.Set({names.parent, names.child, names.list}, slot.relation.Get());
    }
    return map;
}

XLXComPtr<XLXParentChildCache> XLXPCPartCacheMng::Refresh(XLXComPtr<XLXParentChildCache> relation,
                                                          XILXPCData record, std::uint64_t epoch) const
{
    if (relation)
    {
        relation->ReplaceServer(std::move(record.object));
    }
    else
    {
        relation = LXCFCTOOLS::Make<XLXParentChildCache>(std::move(record.object),
                                                         LXPCPartAt("InternalFillParentChildMap", 1956));
    }
    // Noted before the epoch is read: a notification that comes later finds the store filled, and clears it.
    const std::uint64_t noted = relation->NoteStore();
    const bool fresh = Host().NotificationEpoch().Note() == epoch;
    relation->AssignProperties(std::move(record.values), fresh ? noted : 0);
    return relation;
}

// The values are read from the record, so that loading asks the server once and not once for each relation.
bool XLXPCPartCacheMng::ReadNames(const XVariantRow& values, Names& names, Entry& entry)
{
    auto parent =
        NameOf(ValueOf(values, LXRM_PARENTNAME, OLESTR("pPCCache->GetProperty LXCFPC_parentname"), 1965));
    auto child =
        NameOf(ValueOf(values, LXRM_CHILDNAME, OLESTR("pPCCache->GetProperty LXCFPC_childname"), 1970));
    auto list = NameOf(
        ValueOf(values, LXRM_CHILDLISTNAME, OLESTR("pPCCache->GetProperty LXCFPC_childlistname"), 1975));
    const auto ppr =
        ValueOf(values, LXRM_PPRRELATIONTYPE, OLESTR("pPCCache->GetProperty LXCFPC_pprrelationtype"), 1980)
            .AsLong();
    const auto internal =
        ValueOf(values, LXRM_SYSTEMINTERNAL, OLESTR("pPCCache->GetProperty LXCFPC_issysteminternal"), 1991)
            .AsBool();
    if (!parent || !child || !list)
    {
        return false;
    }
    names = {std::move(*parent), std::move(*child), std::move(*list)};
    entry.ppr = ppr.value_or(0) != 0;
    entry.systemInternal = internal.value_or(false);
    return true;
}

const XLXPCPartCacheMng::ChildMap* XLXPCPartCacheMng::Below(const ParentMap& map, const XCFGStringKey& parent)
{
    const auto children = map.byParent.find(parent);
    return children != map.byParent.end() ? &children->second : nullptr;
}

XLXParentChildCache* XLXPCPartCacheMng::Find(const ParentMap& map, XLXTextView parent, XLXTextView child,
                                             XLXTextView list)
{
    XLXParentChildCache* const* const found = map.byNames.Find({parent, child, list});
    return found != nullptr ? *found : nullptr;
}

// Asks by the keys, which are there: a cache that ends needs no memory for it.
void XLXPCPartCacheMng::TerminateDropped(const ParentMap& former, const ParentMap& kept) noexcept
{
    ForEach(former, [&kept](const auto& parent, const auto& child, const auto& list, const Entry& entry) {
        const ChildMap* const below = Below(kept, parent);
        const auto lists = below != nullptr ? below->find(child) : ChildMap::const_iterator();
        if (below == nullptr || lists == below->end() || lists->second.count(list) == 0)
        {
            entry.relation->Terminate();
        }
    });
}

XLXPCPartCacheMng::ParentMapPtr XLXPCPartCacheMng::Held() const
{
    const XCritLFReadProxy<RelationMap> map(m_relations);
    return map->relations;
}

// Relations keep being notified while a failed load hides them: they may come again.
HRESULT XLXPCPartCacheMng::DataObjectChanged(const XChangeNotification& notification)
{
    const XDataId& id = notification.id;
    if (id.kind == LXDataIdKind::ParentChild ||
        (id.kind == LXDataIdKind::Objects && LXModeConcerns(id.mode, LXUM_EVERYTHING | LXUM_PARENTCHILD)))
    {
        m_filled.Invalidate();
        XInvalidationLog::Add("XLXPCPartCacheMng", "relation map");
    }
    const ParentMapPtr relations = Held();
    HRESULT result = S_OK;
    ForEach(*relations, [&](const auto&, const auto&, const auto&, const Entry& entry) {
        result = result == S_OK ? entry.relation->Notify(notification) : result;
    });
    return result;
}

// SPDX-License-Identifier: MIT
//
// What the relation manager answers.
#include "lxpcpartcachemng.h"

#include "XLXEnumWithDelete.h"
#include "lxpcpartchecks.h"
#include "lxtransientpc.h"

#include <set>

namespace
{
constexpr const OLECHAR* CompBaseType = OLESTR("lumbcompbase");

bool LetsThrough(LONG filter, bool ppr, bool systemInternal) noexcept
{
    return !((filter & LXPCF_PPRONLY) != 0 && !ppr) && !((filter & LXPCF_NOPPR) != 0 && ppr) &&
           !((filter & LXPCF_NOSYSTEMINTERNAL) != 0 && systemInternal);
}

HRESULT ResolveTypeName(ILX_BaseDataObject* object, XLXText& typeName)
{
    if (object == nullptr)
    {
        return S_OK;
    }
    if (!typeName.empty())
    {
        LXServerCall("ILX_BaseDataObject::IsDerivedFromType");
        if (object->IsDerivedFromType(XLXComBSTR(CompBaseType).Get()) != S_OK)
        {
            return S_OK; // the name that the caller gave
        }
    }
    XLXComBSTR own;
    const HRESULT result = LXAskText("ILX_BaseDataObject::GetTypeName", own, LXPCPartAt("CollectPCRelationsByDO"),
                                     [&](BSTR* out) { return object->GetTypeName(out); });
    if (result == S_OK)
    {
        typeName = own.View();
    }
    return result;
}
} // namespace

// ---- collecting

XLXPCPartCacheMng::ParentMapPtr XLXPCPartCacheMng::Loaded()
{
    RelationMapPtr map = Load();
    if (!map || !map->answers)
    {
        return nullptr;
    }
    const ParentMap* const relations = map->relations.get();
    return ParentMapPtr(std::move(map), relations);
}

void XLXPCPartCacheMng::Collect(XLXTextView parentType, XLXTextView childType, XLXTextView browserId, LONG filter,
                                std::vector<Found>& found)
{
    const bool newOnly = (filter & LXPCF_NEWONLY) != 0;
    VisitRelations(parentType, childType, [&](const auto& child, const auto& list, const Entry& entry) {
        const bool shown = LetsThrough(filter, entry.ppr, entry.systemInternal) &&
                           (!browserId.empty() ? static_cast<bool>(entry.relation->FindPCInfo(browserId))
                                               : !newOnly || entry.relation->HasPCInfos());
        if (shown)
        {
            found.push_back({entry.relation, child, list});
        }
        return true;
    });
    if ((filter & LXPCF_WITHPLANTYPES) != 0 && LetsThrough(filter, false, false))
    {
        AddPlanTypeRelations(parentType, childType, browserId, newOnly, found);
    }
}

void XLXPCPartCacheMng::AddPlanTypeRelations(XLXTextView parentType, XLXTextView childType, XLXTextView browserId,
                                             bool newOnly, std::vector<Found>& found)
{
    for (const auto& allowed : Host().InternalGetPlantypeRelations(parentType))
    {
        if (!childType.empty() && allowed.childType != childType)
        {
            continue;
        }
        auto relation = XLXTransientPC::For(Host(), parentType, allowed, newOnly);
        HRESULT shown = S_OK;
        if (!browserId.empty())
        {
            XLXComPtr<ILXPCInfo> info;
            shown = Host().InternalGetPCInfo(browserId, info.Put(), newOnly);
        }
        else if (newOnly)
        {
            XLXComPtr<ILXPCInfoEnum> infos;
            shown = Host().InternalGetPCInfoEnum(infos.Put(), newOnly);
        }
        if (shown == S_OK)
        {
            found.push_back({relation, XCFGStringKey(allowed.childType), XCFGStringKey(OLESTR("nodes"))});
        }
    }
}

HRESULT XLXPCPartCacheMng::CollectPCRelations(XLXTextView parentType, XLXTextView childType, XLXTextView browserId,
                                              LONG filter, Relations& result)
{
    std::vector<Found> found;
    Collect(parentType, childType, browserId, filter, found);
    for (Found& relation : found)
    {
        result.push_back(std::move(relation.relation));
    }
    return S_OK;
}

// A name stays empty when its object has no type name: nothing stands above or below such an object.
HRESULT XLXPCPartCacheMng::ResolveTypeNames(XLXText& parentType, XLXText& childType, ILX_BaseDataObject* parent,
                                            ILX_BaseDataObject* child)
{
    if (parent == nullptr && parentType.empty())
    {
        XLXError::Raise(E_INVALIDARG, OLESTR("neither an object nor a type name is given"),
                        LXPCPartAt("CollectPCRelationsByDO"));
    }
    HRESULT result = ResolveTypeName(parent, parentType);
    if (result == S_OK)
    {
        result = ResolveTypeName(child, childType);
    }
    const bool nothing = parentType.empty() || (child != nullptr && childType.empty());
    return result == S_OK && nothing ? S_FALSE : result;
}

HRESULT XLXPCPartCacheMng::CollectPCRelationsByDO(XLXText& parentType, XLXText& childType, ILX_BaseDataObject* parent,
                                                  ILX_BaseDataObject* child, XLXTextView browserId, LONG filter,
                                                  Relations& result)
{
    const HRESULT resolved = ResolveTypeNames(parentType, childType, parent, child);
    return resolved == S_OK ? CollectPCRelations(parentType, childType, browserId, filter, result) : resolved;
}

// ---- enumerations

HRESULT XLXPCPartCacheMng::EnumerateBelow(const char* method, ILX_BaseDataObject* object, BSTR typeName, BSTR browserId,
                                          LONG filter, ILXParentChildEnum** ppEnum)
{
    LXCheckOut(ppEnum, OLESTR("ppPCEnum"), LXPCPartAt(method));
    XLXText parentType(LXBstrView(typeName));
    XLXText childType;
    Relations result;
    const HRESULT collected =
        CollectPCRelationsByDO(parentType, childType, object, nullptr, LXBstrView(browserId), filter, result);
    return FAILED(collected) ? collected : LXHandOutEnumerator(std::move(result), ppEnum);
}

HRESULT XLXPCPartCacheMng::EnumerateBetween(const char* method, ILX_BaseDataObject* parent, ILX_BaseDataObject* child,
                                            LONG filter, ILXParentChildEnum** ppEnum)
{
    LXCheckOut(ppEnum, OLESTR("ppPCEnum"), LXPCPartAt(method));
    XLXError::CheckPointer(parent, OLESTR("pObjectParent"), LXPCPartAt(method));
    XLXText parentType;
    XLXText childType;
    Relations result;
    const HRESULT collected = CollectPCRelationsByDO(parentType, childType, parent, child, {}, filter, result);
    return FAILED(collected) ? collected : LXHandOutEnumerator(std::move(result), ppEnum);
}

HRESULT XLXPCPartCacheMng::GetParentChildEnum(BSTR typeName, ILXParentChildEnum** ppEnum)
{
    LXCheckOut(ppEnum, OLESTR("ppEnum"), LXPCPartAt("GetParentChildEnum"));
    if (!LXBstrView(typeName).empty())
    {
        return EnumerateBelow("GetParentChildEnum", nullptr, typeName, nullptr, LXPCF_NONE, ppEnum);
    }
    Relations result;
    if (const ParentMapPtr relations = Loaded(); relations)
    {
        ForEach(*relations, [&](const auto&, const auto&, const auto&, const Entry& entry) {
            result.emplace_back(entry.relation);
        });
    }
    return LXHandOutEnumerator(std::move(result), ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPPRRelationsEnum(BSTR parentType, ILXParentChildEnum** ppEnum)
{
    return EnumerateBelow("GetPPRRelationsEnum", nullptr, parentType, nullptr, LXPCF_PPRONLY, ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPPRRelationsEnumByDO(ILX_BaseDataObject* parent, ILXParentChildEnum** ppEnum)
{
    return EnumerateBetween("GetPPRRelationsEnumByDO", parent, nullptr, LXPCF_PPRONLY, ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPossiblePPRRelations(BSTR parentType, BSTR childType, ILXParentChildEnum** ppEnum)
{
    return GetPossiblePPRRelations2(parentType, childType, nullptr, LXPCF_NOSYSTEMINTERNAL, ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPossiblePPRRelationsByDO(ILX_BaseDataObject* parent, ILX_BaseDataObject* child,
                                                       ILXParentChildEnum** ppEnum)
{
    LXEmptyOut(ppEnum);
    XLXError::CheckPointer(child, OLESTR("pObjectChild"), LXPCPartAt("GetPossiblePPRRelationsByDO"));
    return EnumerateBetween("GetPossiblePPRRelationsByDO", parent, child, LXPCF_PPRONLY | LXPCF_NOSYSTEMINTERNAL,
                            ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPossiblePPRRelations2(BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                                                    ILXParentChildEnum** ppEnum)
{
    const LXErrorLocation at = LXPCPartAt("GetPossiblePPRRelations2");
    LXCheckOut(ppEnum, OLESTR("ppPCEnum"), at);
    LXCheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at);
    Relations result;
    CollectPCRelations(LXBstrView(parentType), LXBstrView(childType), LXBstrView(browserId), filter | LXPCF_PPRONLY,
                       result);
    return LXHandOutEnumerator(std::move(result), ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPCEnum(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, bool withPlantypes,
                                     ILXParentChildEnum** ppEnum)
{
    return EnumerateBelow("GetPCEnum", object, typeName, browserId, withPlantypes ? LXPCF_WITHPLANTYPES : LXPCF_NONE,
                          ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPCEnum2(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                                      ILXParentChildEnum** ppEnum)
{
    return EnumerateBelow("GetPCEnum2", object, typeName, browserId, filter, ppEnum);
}

HRESULT XLXPCPartCacheMng::GetPCEnumAll(ILX_BaseDataObject* object, BSTR typeName, BSTR browserId, LONG filter,
                                        ILXParentChildEnum** ppEnum)
{
    LXCheckOut(ppEnum, OLESTR("ppPCEnum"), LXPCPartAt("GetPCEnumAll"));
    XLXText parentType(LXBstrView(typeName));
    XLXText noChildType;
    if (const HRESULT resolved = ResolveTypeNames(parentType, noChildType, object, nullptr); resolved != S_OK)
    {
        return resolved;
    }
    std::vector<XLXText> levels = Host().BaseTypeNames(parentType);
    levels.insert(levels.begin(), parentType);
    std::set<std::pair<XCFGStringKey, XCFGStringKey>> listed;
    Relations result;
    for (const XLXText& level : levels)
    {
        std::vector<Found> found;
        Collect(level, {}, LXBstrView(browserId), filter, found);
        std::erase_if(found, [&](const Found& f) { return listed.contains({f.child, f.list}); });
        for (Found& relation : found)
        {
            result.push_back(std::move(relation.relation));
            listed.emplace(std::move(relation.child), std::move(relation.list));
        }
    }
    return LXHandOutEnumerator(std::move(result), ppEnum);
}

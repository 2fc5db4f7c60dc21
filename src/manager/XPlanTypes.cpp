// SPDX-License-Identifier: MIT
#include "XPlanTypes.h"

#include "XBaseDataObjectUtilities.h"
#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace
{
using Objects = XBaseDataObjectUtilities::Objects;

constexpr LXErrorLocation At()
{
    return LXManagerAt("InternalFillPlantypeMap");
}

XLXComVariant AttributeOf(ILX_BaseDataObject& object, const OLECHAR* name)
{
    XLXComVariant value;
    LXServerCall("ILX_BaseDataObject::GetAttribute");
    XLXError::RaiseIfFailed(object.GetAttribute(XLXComBSTR(name).Get(), value.Put()), name, At());
    return value;
}

XLXText TextOf(ILX_BaseDataObject& object, const OLECHAR* name)
{
    return AttributeOf(object, name).AsText().value_or(XLXText());
}

Objects ChildrenOf(ILX_BaseDataObject& object, const OLECHAR* childList)
{
    Objects children;
    const HRESULT result = XBaseDataObjectUtilities::GetChildrenVector(object, XLXComBSTR(childList).Get(),
                                                                       children, &LXServerCall);
    XLXError::RaiseIfFailed(result, childList, At());
    return children;
}

/// The sets of plan types that are in force.
Objects MasterSets(ILX_Query& query)
{
    XLXComPtr<IEnumBaseDataObject> found;
    Objects sets;
    LXServerCall("ILX_Query::ResetSearch");
    HRESULT result = query.ResetSearch(0);
    if (SUCCEEDED(result))
    {
        LXServerCall("ILX_Query::SetSearchTable");
        result = query.SetSearchTable(XLXComBSTR(OLESTR("lumbrixtypeset")).Get());
    }
    if (SUCCEEDED(result))
    {
        LXServerCall("ILX_Query::SetSearchAttribute");
        result = query.SetSearchAttribute(XLXComBSTR(OLESTR("master")).Get(), 0,
                                          XLXComVariant::FromI4(1).Get(), 0);
    }
    if (SUCCEEDED(result))
    {
        LXServerCall("ILX_Query::GetSearchResult");
        result = query.GetSearchResult(found.Put());
        if (FAILED(result))
        {
            (void)found.Detach();
        }
    }
    if (SUCCEEDED(result) && found)
    {
        result = XBaseDataObjectUtilities::GetVector(*found, sets, &LXServerCall);
    }
    XLXError::RaiseIfFailed(result, OLESTR("the plan types cannot be searched"), At());
    return sets;
}
} // namespace

bool XPlanTypes::IsPlanType(XLXTextView typeName)
{
    return Loaded()->contains(XCFGStringKey(typeName));
}

std::vector<XRelationHost::PlanTypeRelation> XPlanTypes::RelationsOf(XLXTextView typeName)
{
    std::vector<XRelationHost::PlanTypeRelation> relations;
    const MapPtr map = Loaded();
    if (const auto found = map->find(XCFGStringKey(typeName)); found != map->end())
    {
        for (const XLXText& child : found->second.allowed)
        {
            relations.push_back({child, found->second.nameShort});
        }
    }
    return relations;
}

XPlanTypes::MapPtr XPlanTypes::Held()
{
    const XCritReadProxy<MapPtr> map(m_mapPlantype);
    return *map;
}

// An answer that a notification overtook is given to the one who asked, and not kept.
XPlanTypes::MapPtr XPlanTypes::Loaded()
{
    if (m_bPlantypeMapFilled.IsFilled())
    {
        return Held();
    }
    const XFillGuard fill(m_fill);
    if (fill.Reentered() || m_bPlantypeMapFilled.IsFilled())
    {
        return Held();
    }
    const std::uint64_t noted = m_bPlantypeMapFilled.Note();
    auto fresh = std::make_shared<Map>();
    const auto query = m_manager.Query();
    if (query)
    {
        try
        {
            *fresh = Fetch(*query);
        }
        catch (const XLXException&)
        {
            XLXError::LogFailure(OLESTR("InternalGetPlantypeRelations failed"), At(), [] { throw; });
            return fresh;
        }
        MapPtr map = fresh;
        const XCritProxy<MapPtr> held(m_mapPlantype);
        held->swap(map);
        m_bPlantypeMapFilled.SetFilled(noted);
    }
    return fresh;
}

XPlanTypes::Map XPlanTypes::Fetch(ILX_Query& query)
{
    Map map;
    for (const auto& set : MasterSets(query))
    {
        for (const auto& planType : ChildrenOf(*set, OLESTR("lumbrixtype")))
        {
            AddPlanType(*planType, map);
        }
    }
    return map;
}

// A plan type without a name, and a nameless one below it, are left out: there is nothing to find them by.
void XPlanTypes::AddPlanType(ILX_BaseDataObject& object, Map& map)
{
    const XLXText name = TextOf(object, OLESTR("configtypename"));
    if (name.empty())
    {
        return;
    }
    PlanType& planType = map[XCFGStringKey(name)];
    planType.nameShort = TextOf(object, OLESTR("nameshort"));
    const auto allow = [&planType](XLXText type) {
        const auto& allowed = planType.allowed;
        if (!type.empty() && std::find(allowed.begin(), allowed.end(), type) == allowed.end())
        {
            planType.allowed.push_back(std::move(type));
        }
    };
    for (const auto& child : ChildrenOf(object, OLESTR("lumbrixtypechild")))
    {
        allow(TextOf(*child, OLESTR("configtypename")));
    }
    if (AttributeOf(object, OLESTR("recursiv")).AsBool().value_or(false))
    {
        allow(name);
    }
}

void XPlanTypes::Clear()
{
    Invalidate();
    m_mapPlantype.Set(std::make_shared<const Map>());
}

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
        result = LXAsk("ILX_Query::GetSearchResult", found, LXNoResult::Nothing, {}, At(),
                       [&](IEnumBaseDataObject** out) { return query.GetSearchResult(out); });
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
    const MapPtr map = Loaded();
    return map && map->contains(XCFGStringKey(typeName));
}

std::vector<XRelationHost::PlanTypeRelation> XPlanTypes::RelationsOf(XLXTextView typeName)
{
    std::vector<XRelationHost::PlanTypeRelation> relations;
    const MapPtr map = Loaded();
    if (!map)
    {
        return relations;
    }
    if (const auto found = map->find(XCFGStringKey(typeName)); found != map->end())
    {
        for (const XLXText& child : found->second.allowed)
        {
            relations.push_back({child, found->second.nameShort});
        }
    }
    return relations;
}

/// Null: there are none.
XPlanTypes::MapPtr XPlanTypes::Loaded()
{
    if (MapPtr fresh = m_mapPlantype.Fresh())
    {
        return fresh;
    }
    const XServerAccess server = m_manager.TryAccess();
    if (!server.query)
    {
        return nullptr;
    }
    try
    {
        return m_mapPlantype.Load({server.clock, XAspect::PlanTypes},
                                  [&] { return std::make_shared<const Map>(Fetch(*server.query)); });
    }
    catch (const XLXException&)
    {
        XLXError::LogFailure(OLESTR("InternalGetPlantypeRelations failed"), At(), [] { throw; });
        return nullptr;
    }
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

void XPlanTypes::Begin(const XClockPtr& clock)
{
    m_mapPlantype.Begin({clock, XAspect::PlanTypes});
}

void XPlanTypes::End(const XClockPtr& clock)
{
    const MapPtr former = m_mapPlantype.End({clock, XAspect::PlanTypes});
}

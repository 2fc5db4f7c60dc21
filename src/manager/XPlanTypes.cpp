// SPDX-License-Identifier: MIT
#include "XPlanTypes.h"

#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace {
using Objects = std::vector<XLXComPtr<ILX_BaseDataObject>>;
constexpr ULONG Batch = 100;

constexpr LXErrorLocation At() { return LXManagerAt("InternalFillPlantypeMap"); }

XLXComVariant AttributeOf(ILX_BaseDataObject& object, const OLECHAR* name) {
    XLXComVariant value;
    const XLXComBSTR attribute(name);
    const HRESULT result = LXAskValue("ILX_BaseDataObject::GetAttribute", value,
                                      [&](VARIANT* out) { return object.GetAttribute(attribute.Get(), out); });
    XLXError::RaiseIfFailed(result, name, At());
    return value;
}

XLXText TextOf(ILX_BaseDataObject& object, const OLECHAR* name) {
    return AttributeOf(object, name).AsText().value_or(XLXText());
}

/// The objects that a method enumerates. A failure of it or of the enumeration raises the message.
template <class Call>
Objects AllOf(const char* method, const OLECHAR* message, Call&& call) {
    XLXComPtr<IEnumBaseDataObject> found;
    Objects objects;
    HRESULT result = LXAsk(method, found, LXNoResult::Nothing, {}, At(), call);
    if (SUCCEEDED(result) && found) {
        result = LXWithoutRaising([&] {
            return LXForEachOf<Batch, ILX_BaseDataObject>(*found, "IEnumBaseDataObject::RemNext", At(),
                                                          [&](auto&& next) { objects.push_back(std::move(next)); });
        });
    }
    XLXError::RaiseIfFailed(result, message, At());
    return objects;
}

Objects ChildrenOf(ILX_BaseDataObject& object, const OLECHAR* childList) {
    const XLXComBSTR list(childList);
    return AllOf("ILX_BaseDataObject::GetChildren", childList,
                 [&](IEnumBaseDataObject** out) { return object.GetChildren(list.Get(), out); });
}

HRESULT ResetSearch(ILX_Query& query) {
    LXServerCall("ILX_Query::ResetSearch");
    return query.ResetSearch(0);
}

/// A search, of which the query object keeps nothing when it is over.
class Search {
public:
    explicit Search(ILX_Query& query) noexcept : m_query(query) {}
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    ~Search() {
        XLXError::LogFailure(OLESTR("the search for plan types cannot be reset"), At(),
                             [&] { XLXError::RaiseIfFailed(ResetSearch(m_query), OLESTR(""), At()); });
    }

private:
    ILX_Query& m_query;
};

/// The sets of plan types that are in force.
Objects MasterSets(ILX_Query& query) {
    constexpr const OLECHAR* failure = OLESTR("the plan types cannot be searched");
    const Search search(query);
    XLXError::RaiseIfFailed(ResetSearch(query), failure, At());
    LXServerCall("ILX_Query::SetSearchTable");
    XLXError::RaiseIfFailed(query.SetSearchTable(XLXComBSTR(OLESTR("lumbrixtypeset")).Get()), failure, At());
    LXServerCall("ILX_Query::SetSearchAttribute");
    const XLXComBSTR master(OLESTR("master"));
    XLXError::RaiseIfFailed(query.SetSearchAttribute(master.Get(), 0, XLXComVariant::FromI4(1).Get(), 0), failure,
                            At());
    return AllOf("ILX_Query::GetSearchResult", failure,
                 [&](IEnumBaseDataObject** out) { return query.GetSearchResult(out); });
}
} // namespace

bool XPlanTypes::IsPlanType(XLXTextView typeName) {
    const MapPtr map = Loaded();
    return map && map->contains(typeName);
}

std::vector<XRelationHost::PlanTypeRelation> XPlanTypes::RelationsOf(XLXTextView typeName) {
    std::vector<XRelationHost::PlanTypeRelation> relations;
    const MapPtr map = Loaded();
    if (!map) { return relations; }
    if (const auto found = map->find(typeName); found != map->end()) {
        for (const XLXText& child : found->second.allowed) {
            relations.push_back({child, found->second.nameShort});
        }
    }
    return relations;
}

/// Null: there are none.
XPlanTypes::MapPtr XPlanTypes::Loaded() {
    if (MapPtr fresh = m_mapPlantype.Fresh()) { return fresh; }
    const XServerAccess server = m_manager.TryAccess();
    if (!server.query) { return nullptr; }
    try {
        return m_mapPlantype.Load({server.clock, XAspect::PlanTypes},
                                  [&] { return std::make_shared<const Map>(Fetch(*server.query)); });
    } catch (const XLXException&) {
        XLXError::LogFailure(OLESTR("InternalGetPlantypeRelations failed"), At(), [] { throw; });
        return nullptr;
    }
}

XPlanTypes::Map XPlanTypes::Fetch(ILX_Query& query) {
    Map map;
    for (const auto& set : MasterSets(query)) {
        for (const auto& planType : ChildrenOf(*set, OLESTR("lumbrixtype"))) {
            AddPlanType(*planType, map);
        }
    }
    return map;
}

// A plan type without a name, and a nameless one below it, are left out: there is nothing to find them by.
void XPlanTypes::AddPlanType(ILX_BaseDataObject& object, Map& map) {
    const XLXText name = TextOf(object, OLESTR("configtypename"));
    if (name.empty()) { return; }
    PlanType& planType = map[XCFGStringKey(name)];
    planType.nameShort = TextOf(object, OLESTR("nameshort"));
    const auto allow = [&planType](XLXText type) {
        const auto& allowed = planType.allowed;
        if (!type.empty() && std::find(allowed.begin(), allowed.end(), type) == allowed.end()) {
            planType.allowed.push_back(std::move(type));
        }
    };
    for (const auto& child : ChildrenOf(object, OLESTR("lumbrixtypechild"))) {
        allow(TextOf(*child, OLESTR("configtypename")));
    }
    if (AttributeOf(object, OLESTR("recursiv")).AsBool().value_or(false)) { allow(name); }
}

void XPlanTypes::Begin(const XClockPtr& clock) { m_mapPlantype.Begin({clock, XAspect::PlanTypes}); }

void XPlanTypes::End(const XClockPtr& clock) { const MapPtr former = m_mapPlantype.End({clock, XAspect::PlanTypes}); }

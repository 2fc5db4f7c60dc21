// SPDX-License-Identifier: MIT
#include "XPlanTypes.h"

namespace {
using Objects = std::vector<XLXComPtr<ILX_BaseDataObject>>;
using Relations = std::vector<XRelationHost::PlanTypeRelation>;

constexpr ULONG ObjectBatch = 100;

constexpr LXErrorLocation At() { return LXManagerAt("InternalFillPlantypeMap"); }

XLXComVariant AttributeOf(ILX_BaseDataObject& object, const OLECHAR* name) {
    XLXComVariant value;
    XLXError::RaiseIfFailed(LXAskAttribute(object, name, value), name, At());
    return value;
}

XLXText TextOf(ILX_BaseDataObject& object, const OLECHAR* name) {
    return AttributeOf(object, name).AsText().value_or(XLXText());
}

/// The data objects of an enumeration that the server returns. Every failure is raised with this text.
Objects ObjectsOf(const char* method, const OLECHAR* failureText, auto&& ask) {
    Objects objects;
    XLXComPtr<IEnumBaseDataObject> found;
    HRESULT result = LXAsk(method, found, LXNoResult::Nothing, {}, At(), ask);
    if (SUCCEEDED(result) && found) {
        result = LXWithoutRaising([&] {
            return LXForEachOf<ObjectBatch, ILX_BaseDataObject>(
                *found, "IEnumBaseDataObject::RemNext", At(),
                [&](XLXComPtr<ILX_BaseDataObject>&& object) { objects.push_back(std::move(object)); });
        });
    }
    XLXError::RaiseIfFailed(result, failureText, At());
    return objects;
}

Objects ChildrenOf(ILX_BaseDataObject& object, const OLECHAR* childList) {
    const XLXComBSTR list(childList);
    return ObjectsOf("ILX_BaseDataObject::GetChildren", childList,
                     [&](IEnumBaseDataObject** out) { return object.GetChildren(list.Get(), out); });
}

HRESULT ResetSearch(ILX_Query& query) {
    LXServerCall("ILX_Query::ResetSearch");
    return query.ResetSearch(0);
}

/// The active sets of plan types.
Objects MasterSets(ILX_Query& query) {
    constexpr const OLECHAR* failureText = OLESTR("the plan types cannot be searched");
    const auto check = [](HRESULT result) { XLXError::RaiseIfFailed(result, failureText, At()); };
    // Resets the search on every way out, so that the query object keeps no reference to it.
    const auto reset = [](ILX_Query* searched) {
        XLXError::LogFailure(OLESTR("the search for plan types cannot be reset"), At(),
                             [&] { XLXError::RaiseIfFailed(ResetSearch(*searched), OLESTR(""), At()); });
    };
    const std::unique_ptr<ILX_Query, decltype(reset)> search(&query, reset);
    check(ResetSearch(query));
    LXServerCall("ILX_Query::SetSearchTable");
    check(query.SetSearchTable(XLXComBSTR(OLESTR("lumbrixtypeset")).Get()));
    LXServerCall("ILX_Query::SetSearchAttribute");
    check(query.SetSearchAttribute(XLXComBSTR(OLESTR("master")).Get(), 0, XLXComVariant::FromI4(1).Get(), 0));
    return ObjectsOf("ILX_Query::GetSearchResult", failureText,
                     [&](IEnumBaseDataObject** out) { return query.GetSearchResult(out); });
}

// Ignores plan types and children without a name, because nothing could find them. If a name occurs twice, the last
// short name applies to all its relations.
void AddPlanType(ILX_BaseDataObject& object, XNameMap<Relations>& map) {
    const XLXText name = TextOf(object, OLESTR("configtypename"));
    if (name.empty()) { return; }
    Relations& relations = map[XCFGStringKey(name)];
    const XLXText nameShort = TextOf(object, OLESTR("nameshort"));
    for (auto& relation : relations) {
        relation.nameShort = nameShort;
    }
    const auto allow = [&](XLXText type) {
        if (!type.empty() && std::ranges::find(relations, type, &Relations::value_type::childType) == relations.end()) {
            relations.push_back({std::move(type), nameShort});
        }
    };
    for (const auto& child : ChildrenOf(object, OLESTR("lumbrixtypechild"))) {
        allow(TextOf(*child, OLESTR("configtypename")));
    }
    if (AttributeOf(object, OLESTR("recursiv")).AsBool().value_or(false)) { allow(name); }
}

XNameMap<Relations> FetchPlanTypes(const XConnection& server) {
    XNameMap<Relations> map;
    for (const auto& set : MasterSets(*server.query)) {
        for (const auto& planType : ChildrenOf(*set, OLESTR("lumbrixtype"))) {
            AddPlanType(*planType, map);
        }
    }
    return map;
}
} // namespace

bool XPlanTypes::IsPlanType(XLXTextView typeName) {
    const Value map = Loaded();
    return map && map->contains(typeName);
}

std::vector<XRelationHost::PlanTypeRelation> XPlanTypes::RelationsOf(XLXTextView typeName) {
    return LXFind(Loaded().get(), typeName);
}

XPlanTypes::Value XPlanTypes::Loaded() {
    if (Value fresh = m_loaded.Fresh()) { return fresh; }
    const XConnectionPtr server = m_owner.Connection();
    if (!server || !server->query) { return nullptr; }
    std::exception_ptr failure;
    Value loaded;
    LXKeepFailure(failure, [&] { loaded = LoadFrom(*server, FetchPlanTypes); });
    if (failure) {
        XLXError::LogFailure(OLESTR("InternalGetPlantypeRelations failed"), At(), [&] { LXRaiseKept(failure); });
    }
    return loaded;
}

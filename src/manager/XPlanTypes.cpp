// SPDX-License-Identifier: MIT
#include "XPlanTypes.h"

namespace {
using Objects = std::vector<XLXComPtr<ILX_BaseDataObject>>;
using Relations = std::vector<XRelationHost::PlanTypeRelation>;

constexpr ULONG ObjectBatch = 100;
constexpr int MaxSearches = 4;
constexpr const OLECHAR* SearchFailed = OLESTR("the plan types cannot be searched");

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

/// A search for the active sets of plan types. Its criteria are state of the query object, which two threads may use at
/// once: a thread that must not wait for another one's load searches itself.
class Search {
public:
    /// @param calls  the calls to the query object by all threads
    Search(ILX_Query& query, std::atomic<std::uint64_t>& calls) : m_query(query), m_calls(calls), m_own(calls.load()) {}
    Search(const Search&) = delete;
    /// Resets the search on every way out, so that the query object keeps no reference to it.
    ~Search() {
        XLXError::LogFailure(OLESTR("the search for plan types cannot be reset"), At(), [&] { Reset(OLESTR("")); });
    }

    Objects Result() {
        Reset(SearchFailed);
        Call("ILX_Query::SetSearchTable", SearchFailed,
             [&] { return m_query.SetSearchTable(XLXComBSTR(OLESTR("lumbrixtypeset")).Get()); });
        Call("ILX_Query::SetSearchAttribute", SearchFailed, [&] {
            return m_query.SetSearchAttribute(XLXComBSTR(OLESTR("master")).Get(), 0, XLXComVariant::FromI4(1).Get(), 0);
        });
        Count();
        return ObjectsOf("ILX_Query::GetSearchResult", SearchFailed,
                         [&](IEnumBaseDataObject** out) { return m_query.GetSearchResult(out); });
    }
    /// Whether another thread called the query object since this search began.
    bool IsDisturbed() const noexcept { return m_calls.load() != m_own; }

private:
    void Count() noexcept {
        ++m_own;
        ++m_calls;
    }
    void Call(const char* method, const OLECHAR* failureText, auto&& call) {
        Count();
        LXServerCall(method);
        XLXError::RaiseIfFailed(call(), failureText, At());
    }
    void Reset(const OLECHAR* failureText) {
        Call("ILX_Query::ResetSearch", failureText, [&] { return m_query.ResetSearch(0); });
    }

    ILX_Query& m_query;
    std::atomic<std::uint64_t>& m_calls;
    std::uint64_t m_own; ///< what m_calls is if only this search calls
};

Objects MasterSets(ILX_Query& query, std::atomic<std::uint64_t>& calls) {
    for (int i = 0; i < MaxSearches; ++i) {
        Search search(query, calls);
        Objects sets = search.Result();
        if (!search.IsDisturbed()) { return sets; }
    }
    XLXError::Raise(E_FAIL, SearchFailed, At());
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

XNameMap<Relations> FetchPlanTypes(const XConnection& server, std::atomic<std::uint64_t>& calls) {
    XNameMap<Relations> map;
    for (const auto& set : MasterSets(*server.query, calls)) {
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
    LXKeepFailure(failure, [&] {
        loaded = LoadFrom(*server, [this](const XConnection& from) { return FetchPlanTypes(from, m_queryCalls); });
    });
    if (failure) {
        XLXError::LogFailure(OLESTR("InternalGetPlantypeRelations failed"), At(), [&] { LXRaiseKept(failure); });
        return m_loaded.Fresh(); // another thread may have loaded them meanwhile
    }
    return loaded;
}

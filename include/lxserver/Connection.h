// SPDX-License-Identifier: MIT
//
// The object that a client receives, with all services of a server: ILXConfigFactory, ILXConfigFactoryEx, ILXDataUpdate
// and ILX_Query.
//
//     const auto server = std::make_shared<lx::ModelServer>(MakeModel());
//     const lx::Ref<lx::Connection> connection = lx::Connect(server);
//     cache->Initialize(connection.Get(), connection.Get(), connection.Get());
//
// Ownership  A connection keeps its server alive. It stores the criteria of the query, so each client needs its own
//            connection.
// Threading  Free-threaded, except ILX_Query: one thread at a time.
// Errors     See Object.h. Methods that add or remove elements return E_NOTIMPL.
#ifndef LXSERVER_CONNECTION_H
#define LXSERVER_CONNECTION_H

#include <lxserver/TypeObject.h>

namespace lx {
class Connection final
    : public QueryRefusals<DataUpdateRefusals<
          ConfigFactoryRefusals<Object<ILXConfigFactory, ILXConfigFactoryEx, ILXDataUpdate, ILX_Query>>>> {
public:
    explicit Connection(ServerPtr server) : m_server(std::move(server)) {}

    // ---- ILXConfigFactory
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum** types) override {
        return ListTypes("GetTypeEnum", types, [](const TypeRecord& type) { return type.listed; });
    }
    HRESULT STDMETHODCALLTYPE GetSearchableTypeEnum(ILXTypeEnum** types) override {
        return ListTypes("GetSearchableTypeEnum", types,
                         [](const TypeRecord& type) { return type.listed && type[Searchable].AsBool(); });
    }
    HRESULT STDMETHODCALLTYPE GetType(BSTR name, BSTR, ILXType** type) override {
        return Call(
            "GetType",
            [&] {
                const ModelPtr model = m_server->Snapshot();
                const Key key = Key::OfType(Text(ViewOf(name)));
                return HandOutOne<TypeObject>(m_server, key, Find(*model, key), type);
            },
            type);
    }
    HRESULT STDMETHODCALLTYPE GetParentChildEnum(BSTR parent, BSTR, ILXParentChildEnum** relations) override {
        return Call(
            "GetParentChildEnum",
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::vector<Ref<ILXParentChild>> objects;
                for (const RelationRecord& relation : model->relations) {
                    if (ViewOf(parent).empty() || relation[ParentName].AsText() == ViewOf(parent)) {
                        objects.push_back(Make<RelationObject>(m_server, KeyOf(relation), relation));
                    }
                }
                return HandOut(std::move(objects), relations);
            },
            relations);
    }
    HRESULT STDMETHODCALLTYPE GetBrowserIdEnum(ILXBrowserIdEnum** browserIds) override {
        return Call(
            "GetBrowserIdEnum",
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::vector<Ref<ILXBrowserId>> objects;
                for (const BrowserIdRecord& record : model->browserIds) {
                    const Key key = Key::OfBrowserId(record[BrowserIdName].AsText());
                    objects.push_back(Make<BrowserIdObject>(m_server, key, record));
                }
                return HandOut(std::move(objects), browserIds);
            },
            browserIds);
    }
    HRESULT STDMETHODCALLTYPE GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** specs) override {
        return Call(
            "GetAllGlobalAttributeFormatSpecs",
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::vector<Ref<ILXGlobalAttributeFormatSpec>> objects;
                for (const auto& [id, spec] : model->specs) {
                    objects.push_back(Make<SpecObject>(m_server, Key::OfSpec(id), spec));
                }
                return HandOut(std::move(objects), specs);
            },
            specs);
    }
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* version) override {
        return Call(
            "GetVersion",
            [&] {
                *version = NewBstr(m_server->Snapshot()->version);
                return S_OK;
            },
            version);
    }
    HRESULT STDMETHODCALLTYPE NotifyServerTermination() override { return S_OK; }

    // ---- bulk reads
    HRESULT STDMETHODCALLTYPE GetTypeArray(LONG withAttributes, SAFEARRAY** types) override {
        return AllTypes("GetTypeArray", AttributesOnly(withAttributes), types);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeName(BSTR name, LONG withBases, LONG withAttributes,
                                                     SAFEARRAY** types) override {
        return TypesOf("GetTypeArrayByTypeName", withBases, AttributesOnly(withAttributes), types,
                       [&] { return std::vector<Text>{Text(ViewOf(name))}; });
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArray(SAFEARRAY* names, LONG withBases, LONG withAttributes,
                                                          SAFEARRAY** types) override {
        return TypesOf("GetTypeArrayByTypeNameArray", withBases, AttributesOnly(withAttributes), types,
                       [&] { return lx::TextsOf(names); });
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG mode, SAFEARRAY** types) override {
        return AllTypes("GetTypeArrayEx", mode, types);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR name, LONG withBases, LONG mode,
                                                       SAFEARRAY** types) override {
        return TypesOf("GetTypeArrayByTypeNameEx", withBases, mode, types,
                       [&] { return std::vector<Text>{Text(ViewOf(name))}; });
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY* names, LONG withBases, LONG mode,
                                                            SAFEARRAY** types) override {
        return TypesOf("GetTypeArrayByTypeNameArrayEx", withBases, mode, types, [&] { return lx::TextsOf(names); });
    }
    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY** relations) override {
        return Call(
            "GetPCArray",
            [&] {
                const ModelPtr model = m_server->Snapshot();
                const auto build = [&] { return std::pair(model, BulkWriter(m_server, *model, 0).Relations()); };
                return Give({{}, -1}, model, build, relations);
            },
            relations);
    }

    // ---- ILXDataUpdate
    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR computer, ULONG process, ILXCallbackUpdate* callback,
                                               LONG* client) override {
        return Call(
            "RegisterCallback",
            [&]() -> HRESULT {
                if (callback == nullptr) { return E_POINTER; }
                *client = m_server->Clients().Register(callback, ViewOf(computer), process);
                return S_OK;
            },
            client);
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG client) override {
        return Call("UnregisterCallback", [&] { return m_server->Clients().Unregister(client) ? S_OK : E_INVALIDARG; });
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG client, BSTR dataType, LONG enable, ULONG advices) override {
        return Call("EnableAdvicesDataType", [&] {
            return m_server->Clients().Enable(client, ViewOf(dataType), enable != 0, advices) ? S_OK : E_INVALIDARG;
        });
    }
    /// Forwards a client's notification to the other clients.
    HRESULT STDMETHODCALLTYPE DataObjectChanged(LONG client, BSTR dataId, BSTR dataType, ULONG, ULONG,
                                                tagLXUpdateInfo*) override {
        return Call("DataObjectChanged", [&] {
            m_server->Clients().Send(Text(ViewOf(dataId)), Text(ViewOf(dataType)), client);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE IsNotificationRegisteredByClient(LONG client, BSTR, BSTR dataType, ULONG) override {
        return Call("IsNotificationRegisteredByClient",
                    [&] { return m_server->Clients().IsEnabled(client, ViewOf(dataType)) ? S_OK : S_FALSE; });
    }

    // ---- ILX_Query
    HRESULT STDMETHODCALLTYPE SetSearchTable(BSTR table) override {
        return Call("SetSearchTable", [&] {
            m_table = ViewOf(table);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SetSearchAttribute(BSTR attribute, LONG comparison, VARIANT criterion,
                                                 LONG catenation) override {
        return Call("SetSearchAttribute", [&] {
            if (comparison != 0 || catenation != 0) { return E_NOTIMPL; } // only "equal" and "and" are supported
            m_criteria[Text(ViewOf(attribute))] = Value::From(criterion);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE ResetSearch(LONG criteriaOnly) override {
        return Call("ResetSearch", [&] {
            m_criteria.clear();
            if (criteriaOnly == 0) { m_table.clear(); }
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetSearchResult(IEnumBaseDataObject** objects) override {
        return Call(
            "GetSearchResult", [&] { return HandOut(m_server->Search(m_table, m_criteria), objects); }, objects);
    }
    HRESULT STDMETHODCALLTYPE GetObjectById(BSTR id, ILX_BaseDataObject** object) override {
        return Call(
            "GetObjectById",
            [&] {
                *object = m_server->FindObject(Text(ViewOf(id))).Detach();
                return *object != nullptr ? S_OK : S_FALSE;
            },
            object);
    }

private:
    static LONG AttributesOnly(LONG include) noexcept { return include != 0 ? LXTM_ATTRIBUTES : 0; }

    template <class F> HRESULT ListTypes(std::string_view method, ILXTypeEnum** out, F&& takes) {
        return Call(
            method,
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::vector<Ref<ILXType>> objects;
                for (const auto& [name, type] : model->types) {
                    if (takes(type)) { objects.push_back(Make<TypeObject>(m_server, Key::OfType(name), type)); }
                }
                return HandOut(std::move(objects), out);
            },
            out);
    }
    /// @param names  std::vector<Text> names()
    template <class F> HRESULT TypesOf(std::string_view method, LONG withBases, LONG mode, SAFEARRAY** out, F&& names) {
        return Call(
            method,
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::set<Text> wanted;
                for (const Text& name : names()) {
                    wanted.insert(name);
                    for (const TypeRecord* const type : model->BaseChain(name)) {
                        if (withBases != 0) { wanted.insert(type->Name()); }
                    }
                }
                return GiveTypes(model, wanted, mode, out);
            },
            out);
    }
    HRESULT AllTypes(std::string_view method, LONG mode, SAFEARRAY** out) {
        return Call(
            method,
            [&] {
                const ModelPtr model = m_server->Snapshot();
                std::set<Text> wanted;
                for (const auto& [name, type] : model->types) {
                    wanted.insert(name);
                }
                return GiveTypes(model, wanted, mode, out);
            },
            out);
    }
    HRESULT GiveTypes(const ModelPtr& model, const std::set<Text>& names, LONG mode, SAFEARRAY** out) {
        const auto build = [&] { return std::pair(model, BulkWriter(m_server, *model, mode).Types(names)); };
        return Give({names, std::max(mode, LONG{0})}, model, build, out);
    }
    /// Builds an array with objects for each call; returns a copy of a stored one without objects.
    template <class Build> HRESULT Give(const BulkKey& key, const ModelPtr& model, Build&& build, SAFEARRAY** out) {
        *out = m_server->DeliversComponentObjects() ? build().second : m_server->KeptArrays().CopyOf(key, model, build);
        return *out != nullptr ? S_OK : S_FALSE;
    }

    const ServerPtr m_server;
    Text m_table; // of the query; like m_criteria not guarded
    std::map<Text, Value> m_criteria;
};

/// Creates a connection for a client.
inline Ref<Connection> Connect(ServerPtr server) { return Make<Connection>(std::move(server)); }

/// A data object that has nothing but a type. A server with real data objects derives its own class from
/// DataObjectRefusals.
class TypedDataObject final : public DataObjectRefusals<Object<ILX_BaseDataObject>> {
public:
    TypedDataObject(ServerPtr server, Text typeName) : m_server(std::move(server)), m_typeName(std::move(typeName)) {}

    HRESULT STDMETHODCALLTYPE GetTypeName(BSTR* name) override {
        return Call(
            "GetTypeName",
            [&] {
                *name = NewBstr(m_typeName);
                return S_OK;
            },
            name);
    }
    HRESULT STDMETHODCALLTYPE IsDerivedFromType(BSTR typeName) override {
        return Call("IsDerivedFromType", [&] {
            const ModelPtr model = m_server->Snapshot();
            for (const TypeRecord* const type : model->BaseChain(m_typeName)) {
                if (type->Name() == ViewOf(typeName)) { return S_OK; }
            }
            return S_FALSE;
        });
    }

private:
    const ServerPtr m_server;
    const Text m_typeName;
};
} // namespace lx

#endif

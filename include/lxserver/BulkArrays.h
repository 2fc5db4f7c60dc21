// SPDX-License-Identifier: MIT
//
// The bulk arrays of a model: all types or some, the components of one, all relations.
//
// Ownership  A writer refers to the server and the model that it is made with. Results are the caller's.
// Threading  For one thread at a time.
// Errors     std::bad_alloc.
#ifndef LXSERVER_BULKARRAYS_H
#define LXSERVER_BULKARRAYS_H

#include <lxserver/ConfigObjects.h>

#include <set>

namespace lx {
class BulkWriter {
public:
    /// @param mode  bits of LXTransferMode; below 1 none
    BulkWriter(const ServerPtr& server, const Model& model, LONG mode)
        : m_server(server), m_model(model), m_mode(mode > 0 ? mode : 0) {}

    /// The types of those names, null when the model has none of them. The array names their bases too, so that each
    /// has an index.
    SAFEARRAY* Types(const std::set<Text>& names) {
        std::map<Text, std::size_t> indexes;
        FlatArray records;
        std::size_t count = 0;
        for (const Text& name : names) {
            if (const TypeRecord* const type = FindIn(m_model.types, name)) {
                AppendType(records, *type, indexes);
                ++count;
            }
        }
        return count != 0 ? TypeArray(indexes, count, records) : nullptr;
    }
    SAFEARRAY* Components(const TypeRecord& type) {
        FlatArray array;
        array.Number(SingleRecord);
        array.Number(WrapperOfComponents);
        AppendComponents(array, type);
        return array.Detach();
    }
    /// Null when there are none.
    SAFEARRAY* Relations() {
        if (m_model.relations.empty()) { return nullptr; }
        FlatArray array;
        array.Number(Vector);
        array.Number(WrapperOfRelations);
        array.Number(static_cast<LONG>(m_model.relations.size()));
        for (const RelationRecord& relation : m_model.relations) {
            AppendConfig(array, Make<RelationObject>(m_server, KeyOf(relation), relation).Get(), relation);
        }
        return array.Detach();
    }

private:
    // Headers of the arrays: how the content is ordered, and what it is of.
    static constexpr LONG Map = 1;
    static constexpr LONG Vector = 2;
    static constexpr LONG SingleRecord = 4;
    static constexpr LONG WrapperOfTypes = 0;
    static constexpr LONG WrapperOfRelations = 1;
    static constexpr LONG WrapperOfComponents = 4;

    SAFEARRAY* TypeArray(const std::map<Text, std::size_t>& indexes, std::size_t count, FlatArray& records) {
        FlatArray array;
        array.Number(Map);
        array.Number(WrapperOfTypes);
        array.Count(indexes.size());
        array.Count(count);
        for (const auto& [name, index] : indexes) {
            array.Name(name);
            array.Count(index);
        }
        array.Append(records);
        return array.Detach();
    }
    /// A record of the server's object and its values.
    static void AppendConfig(FlatArray& to, IUnknown* object, const Record& record) {
        to.Object(object);
        to.Number(record.Count());
        to.Values(record);
    }
    void AppendType(FlatArray& to, const TypeRecord& type, std::map<Text, std::size_t>& indexes) {
        const auto indexOf = [&indexes](const Text& name) {
            return indexes.try_emplace(name, indexes.size()).first->second;
        };
        to.Count(indexOf(type.Name()));
        AppendConfig(to, MakeType(type).Get(), type);
        AppendComponents(to, type);
        const bool hasBase = FindIn(m_model.types, type.Base()) != nullptr;
        to.Number(hasBase ? static_cast<LONG>(indexOf(type.Base())) : -1);
        to.Flag(type.listed);
        to.Flag(type[Searchable].AsBool());
    }
    /// Three flags and the lists that there are, then the same for attributes. A kind that was asked for and of which
    /// there are none has an empty list, so that nobody asks again.
    void AppendComponents(FlatArray& to, const TypeRecord& type) {
        const LONG kinds[] = {LXTM_PAGES, LXTM_GROUPS, LXTM_EDITORS};
        for (const LONG kind : kinds) {
            to.Count((m_mode & kind) != 0 ? 1 : 0);
        }
        if ((m_mode & LXTM_PAGES) != 0) { AppendList<PageObject>(to, type, Kind::Page, type.pages); }
        if ((m_mode & LXTM_GROUPS) != 0) { AppendList<GroupObject>(to, type, Kind::Group, type.groups); }
        if ((m_mode & LXTM_EDITORS) != 0) { AppendList<EditorObject>(to, type, Kind::Editor, type.editors); }
        to.Count((m_mode & LXTM_ATTRIBUTES) != 0 ? 1 : 0);
        if ((m_mode & LXTM_ATTRIBUTES) != 0) {
            FlatArray list;
            for (const auto& [name, attribute] : type.attributes) {
                AppendAttribute(list, Key{Kind::Attribute, type.Name(), name, {}, {}}, attribute);
            }
            to.SubArray(list);
        }
    }
    template <class T, class Map>
    void AppendList(FlatArray& to, const TypeRecord& type, Kind kind, const Map& records) {
        FlatArray list;
        list.Number(static_cast<LONG>(records.size()));
        for (const auto& [id, record] : records) {
            Key key{kind, type.Name(), {}, {}, {}};
            if constexpr (std::is_same_v<typename Map::key_type, int>) {
                key.number = id;
            } else {
                key.name = id;
            }
            const bool carried = kind == Kind::Editor || m_server->DeliversComponentObjects();
            AppendConfig(list, carried ? Make<T>(m_server, std::move(key), record).Get() : nullptr, record);
        }
        to.SubArray(list);
    }
    /// An attribute is its object and its values, without their number; then its attribute types, each with its values
    /// first.
    void AppendAttribute(FlatArray& to, Key key, const AttributeRecord& attribute) {
        const bool carried = m_server->DeliversComponentObjects();
        to.Object(carried ? Make<AttributeObject>(m_server, key, attribute).Get() : nullptr);
        to.Values(attribute);
        to.Number(static_cast<LONG>(attribute.types.size()));
        key.kind = Kind::AttributeType;
        for (const auto& [name, type] : attribute.types) {
            key.part = name;
            to.Values(type);
            to.Object(Make<AttributeTypeObject>(m_server, key, type).Get());
        }
    }
    Ref<ILXType> MakeType(const TypeRecord& type);

    const ServerPtr& m_server;
    const Model& m_model;
    const LONG m_mode;
};
} // namespace lx

#endif

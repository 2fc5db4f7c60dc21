// SPDX-License-Identifier: MIT
//
// The bulk arrays of a model: all or some types, the components of one type, all relations.
//
// Ownership  A writer references the server and the model passed to its constructor; both must outlive it. The caller
//            owns the returned arrays and destroys them with SafeArrayDestroy.
// Threading  Not thread-safe: one thread at a time.
// Errors     std::bad_alloc.
#ifndef LXSERVER_BULKARRAYS_H
#define LXSERVER_BULKARRAYS_H

#include <lxserver/ConfigObjects.h>

#include <set>

namespace lx {
/// The layout of the arrays, for any representation of a model.
/// @tparam Source  access to the model. It defines its own classes for types, components and relations, and has:
///     Pages, Groups, Editors, Attributes (type)    the type's own components, without inherited ones
///     Types(attribute)                             the attribute types of an attribute
///     ObjectOf(type), ObjectOf(relation), ObjectOf(type, component), ObjectOf(type, attribute, attribute type)
///                                                  the server's object, or null
///     Count(element), Values(array, element)       the number of values; appends the values
///     NameOf, BaseOf, IsListed, IsSearchable (type), Has(name)
///     CarriesEmptyLists                            true: write an empty list for a requested kind without elements,
///                                                  so that the client does not ask for it again
template <class Source> class BulkLayout {
public:
    /// @param mode  bits of LXTransferMode; values below 1 mean no components
    BulkLayout(const Source& source, LONG mode) : m_source(source), m_mode(mode > 0 ? mode : 0) {}

    /// Returns null if there are no types. The array also contains the names of the base types, so that each has an
    /// index.
    /// @param types  pointers to the types
    template <class Pointers> SAFEARRAY* TypeArray(const Pointers& types) {
        if (types.empty()) { return nullptr; }
        Indexes indexes;
        FlatArray records;
        for (const auto* const type : types) {
            AppendType(records, *type, indexes);
        }
        FlatArray array;
        array.Number(Map);
        array.Number(WrapperOfTypes);
        array.Count(indexes.size());
        array.Count(types.size());
        for (const auto& [name, index] : indexes) {
            array.Name(name);
            array.Count(index);
        }
        array.Append(records);
        return array.Detach();
    }
    template <class Type> SAFEARRAY* ComponentArray(const Type& type) {
        FlatArray array;
        array.Number(SingleRecord);
        array.Number(WrapperOfComponents);
        AppendComponents(array, type);
        return array.Detach();
    }
    /// Returns null if there are no relations.
    template <class Relations> SAFEARRAY* RelationArray(const Relations& relations) {
        if (relations.empty()) { return nullptr; }
        FlatArray array;
        array.Number(Vector);
        array.Number(WrapperOfRelations);
        array.Number(static_cast<LONG>(relations.size()));
        for (const auto& relation : relations) {
            AppendConfig(array, m_source.ObjectOf(relation), relation);
        }
        return array.Detach();
    }
    /// Whether the array of a type contains a list of a kind.
    /// @param bit  the kind: one bit of LXTransferMode
    template <class List> bool Carries(LONG bit, const List& list) const {
        return (m_mode & bit) != 0 && (Source::CarriesEmptyLists || !list.empty());
    }

private:
    // Headers of the arrays: the container, and the kind of its records.
    static constexpr LONG Map = 1;
    static constexpr LONG Vector = 2;
    static constexpr LONG SingleRecord = 4;
    static constexpr LONG WrapperOfTypes = 0;
    static constexpr LONG WrapperOfRelations = 1;
    static constexpr LONG WrapperOfComponents = 4;

    using Indexes = std::map<Text, std::size_t>;

    template <class Type> void AppendType(FlatArray& to, const Type& type, Indexes& indexes) {
        const auto indexOf = [&indexes](const Text& name) {
            return indexes.try_emplace(name, indexes.size()).first->second;
        };
        to.Count(indexOf(m_source.NameOf(type)));
        AppendConfig(to, m_source.ObjectOf(type), type);
        AppendComponents(to, type);
        const Text& base = m_source.BaseOf(type);
        to.Number(m_source.Has(base) ? static_cast<LONG>(indexOf(base)) : -1);
        to.Flag(m_source.IsListed(type));
        to.Flag(m_source.IsSearchable(type));
    }
    /// Writes three flags and the lists that they announce, then the flag and the list of attributes.
    template <class Type> void AppendComponents(FlatArray& to, const Type& type) {
        to.Count(Carries(LXTM_PAGES, m_source.Pages(type)) ? 1 : 0);
        to.Count(Carries(LXTM_GROUPS, m_source.Groups(type)) ? 1 : 0);
        to.Count(Carries(LXTM_EDITORS, m_source.Editors(type)) ? 1 : 0);
        AppendList(to, type, LXTM_PAGES, m_source.Pages(type));
        AppendList(to, type, LXTM_GROUPS, m_source.Groups(type));
        AppendList(to, type, LXTM_EDITORS, m_source.Editors(type));
        const auto& attributes = m_source.Attributes(type);
        const bool carried = Carries(LXTM_ATTRIBUTES, attributes);
        to.Count(carried ? 1 : 0);
        if (!carried) { return; }
        FlatArray list;
        for (const auto& attribute : attributes) {
            AppendAttribute(list, type, attribute);
        }
        to.SubArray(list);
    }
    template <class Type, class List> void AppendList(FlatArray& to, const Type& type, LONG bit, const List& elements) {
        if (!Carries(bit, elements)) { return; }
        FlatArray list;
        list.Number(static_cast<LONG>(elements.size()));
        for (const auto& element : elements) {
            AppendConfig(list, m_source.ObjectOf(type, element), element);
        }
        to.SubArray(list);
    }
    /// Writes a record: the server's object, the number of values, the values.
    template <class Element> void AppendConfig(FlatArray& to, Ref<IUnknown> object, const Element& element) {
        to.Object(std::move(object));
        to.Number(m_source.Count(element));
        m_source.Values(to, element);
    }
    /// Writes an attribute: its object and its values, without their number; then its attribute types. In these the
    /// values precede the object.
    template <class Type, class Attribute>
    void AppendAttribute(FlatArray& to, const Type& type, const Attribute& attribute) {
        to.Object(m_source.ObjectOf(type, attribute));
        m_source.Values(to, attribute);
        const auto& types = m_source.Types(attribute);
        to.Number(static_cast<LONG>(types.size()));
        for (const auto& part : types) {
            m_source.Values(to, part);
            to.Object(m_source.ObjectOf(type, attribute, part));
        }
    }

    const Source& m_source;
    const LONG m_mode;
};

/// A Source over a Model. Its objects are those of ConfigObjects.h.
class ModelSource {
public:
    static constexpr bool CarriesEmptyLists = true;

    ModelSource(const ServerPtr& server, const Model& model)
        : m_server(server), m_model(model), m_withObjects(server->DeliversComponentObjects()) {}

    static const auto& Pages(const TypeRecord& type) { return type.pages; }
    static const auto& Groups(const TypeRecord& type) { return type.groups; }
    static const auto& Editors(const TypeRecord& type) { return type.editors; }
    static const auto& Attributes(const TypeRecord& type) { return type.attributes; }
    static const auto& Types(const std::pair<const Text, AttributeRecord>& attribute) { return attribute.second.types; }

    Ref<IUnknown> ObjectOf(const TypeRecord& type) const;
    Ref<IUnknown> ObjectOf(const RelationRecord& relation) const {
        if (!m_withObjects) { return {}; }
        return Make<RelationObject>(m_server, KeyOf(relation), relation);
    }
    template <class Component> Ref<IUnknown> ObjectOf(const TypeRecord& type, const Component& component) const {
        if (!m_withObjects) { return {}; }
        return MakeObject(KeyOf(type, component), component.second);
    }
    Ref<IUnknown> ObjectOf(const TypeRecord& type, const std::pair<const Text, AttributeRecord>& attribute,
                           const std::pair<const Text, AttributeTypeRecord>& part) const {
        if (!m_withObjects) { return {}; }
        return Make<AttributeTypeObject>(m_server, Key::OfAttributeType(type.Name(), attribute.first, part.first),
                                         part.second);
    }

    template <class Element> static LONG Count(const Element& element) { return RecordIn(element).Count(); }
    template <class Element> static void Values(FlatArray& to, const Element& element) { to.Values(RecordIn(element)); }

    static const Text& NameOf(const TypeRecord& type) { return type.Name(); }
    static const Text& BaseOf(const TypeRecord& type) { return type.Base(); }
    static bool IsListed(const TypeRecord& type) { return type.listed; }
    static bool IsSearchable(const TypeRecord& type) { return type[Searchable].AsBool(); }
    bool Has(const Text& name) const { return FindIn(m_model.types, name) != nullptr; }

private:
    static const Record& RecordIn(const Record& record) { return record; }
    template <class Id, class Element> static const Record& RecordIn(const std::pair<const Id, Element>& entry) {
        return entry.second;
    }
    template <class Component> static Key KeyOf(const TypeRecord& type, const Component& component) {
        Key key{component.second.What(), type.Name()};
        if constexpr (std::is_same_v<decltype(component.first), const int>) {
            key.number = component.first;
        } else {
            key.name = component.first;
        }
        return key;
    }
    static Key KeyOf(const RelationRecord& relation) { return lx::KeyOf(relation); }
    Ref<IUnknown> MakeObject(Key key, const PageRecord& page) const { return Make<PageObject>(m_server, key, page); }
    Ref<IUnknown> MakeObject(Key key, const GroupRecord& group) const {
        return Make<GroupObject>(m_server, key, group);
    }
    Ref<IUnknown> MakeObject(Key key, const EditorRecord& editor) const {
        return Make<EditorObject>(m_server, key, editor);
    }
    Ref<IUnknown> MakeObject(Key key, const AttributeRecord& attribute) const {
        return Make<AttributeObject>(m_server, key, attribute);
    }

    const ServerPtr& m_server;
    const Model& m_model;
    const bool m_withObjects;
};

class BulkWriter {
public:
    /// @param mode  bits of LXTransferMode; values below 1 mean no components
    BulkWriter(const ServerPtr& server, const Model& model, LONG mode)
        : m_model(model), m_source(server, model), m_layout(m_source, mode) {}
    BulkWriter(const BulkWriter&) = delete;
    BulkWriter& operator=(const BulkWriter&) = delete;

    /// The types with the given names; unknown names are skipped. Returns null if none is known.
    SAFEARRAY* Types(const std::set<Text>& names) {
        std::vector<const TypeRecord*> types;
        for (const Text& name : names) {
            if (const TypeRecord* const type = FindIn(m_model.types, name)) { types.push_back(type); }
        }
        return m_layout.TypeArray(types);
    }
    SAFEARRAY* Components(const TypeRecord& type) { return m_layout.ComponentArray(type); }
    /// Returns null if there are no relations.
    SAFEARRAY* Relations() { return m_layout.RelationArray(m_model.relations); }

private:
    const Model& m_model;
    const ModelSource m_source;
    BulkLayout<ModelSource> m_layout;
};
} // namespace lx

#endif

// SPDX-License-Identifier: MIT
//
// The description of a configuration: types with their pages, groups, attributes and editors, relations, browser ids
// and global format specs. The kit creates everything that clients read from it.
//
//     lx::Model model;
//     lx::TypeRecord& pump = model.AddType(OLESTR("Pump"), OLESTR("Part"));
//     pump.AddAttribute(OLESTR("RatedFlow")).Set(4, OLESTR("m3/h"));
//
// A record holds values by property index. A value that was never set is empty (VT_EMPTY); the cache asks for empty
// values again at each read. Only properties that the cache itself reads have a default.
//
// Ownership  Value semantics. Records are copy-on-write: copies share their values until one changes, so copying a
//            model for a small edit is cheap.
// Threading  As for standard containers: concurrent reads and copies are safe while no thread modifies the model.
// Errors     std::out_of_range for an index outside the kind's range and for a key that At does not find,
//            std::invalid_argument for a value of an unsupported type, std::bad_alloc.
#ifndef LXSERVER_MODEL_H
#define LXSERVER_MODEL_H

#include <LXProperties.h>
#include <lxserver/Object.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace lx {
/// A property value: empty, a boolean, a number or a text.
class Value {
public:
    Value() = default;
    template <std::same_as<bool> T> // excludes pointers, which convert to bool
    Value(T value) : m_value(value) {}
    Value(std::int32_t value) : m_value(value) {}
    Value(double value) : m_value(value) {}
    Value(Text value) : m_value(std::move(value)) {}
    Value(TextView value) : m_value(Text(value)) {}
    Value(const OLECHAR* value) : m_value(Text(value)) {}

    /// Converts a VARIANT. Throws std::invalid_argument for a type that a Value cannot hold.
    static Value From(const VARIANT& value) {
        switch (V_VT(&value)) {
        case VT_EMPTY: return {};
        case VT_BOOL: return V_BOOL(&value) != VARIANT_FALSE;
        case VT_I2: return std::int32_t{V_I2(&value)};
        case VT_I4: return static_cast<std::int32_t>(V_I4(&value));
        case VT_R8: return V_R8(&value);
        case VT_BSTR: return ViewOf(V_BSTR(&value));
        default: throw std::invalid_argument("a value is empty, a boolean, a number or a text");
        }
    }
    /// Writes the value to a VARIANT without clearing it first.
    void CopyTo(VARIANT* out) const {
        VariantInit(out);
        if (const auto* const text = std::get_if<Text>(&m_value)) {
            V_BSTR(out) = NewBstr(*text);
            V_VT(out) = VT_BSTR;
        } else if (const auto* const flag = std::get_if<bool>(&m_value)) {
            V_BOOL(out) = *flag ? VARIANT_TRUE : VARIANT_FALSE;
            V_VT(out) = VT_BOOL;
        } else if (const auto* const number = std::get_if<std::int32_t>(&m_value)) {
            V_I4(out) = *number;
            V_VT(out) = VT_I4;
        } else if (const auto* const real = std::get_if<double>(&m_value)) {
            V_R8(out) = *real;
            V_VT(out) = VT_R8;
        }
    }

    bool IsEmpty() const noexcept { return m_value.index() == 0; }
    /// The text; empty if the value is not a text.
    const Text& AsText() const noexcept {
        static const Text none;
        const auto* const text = std::get_if<Text>(&m_value);
        return text != nullptr ? *text : none;
    }
    /// The integer; 0 if the value is not an integer.
    std::int32_t AsNumber() const noexcept {
        const auto* const number = std::get_if<std::int32_t>(&m_value);
        return number != nullptr ? *number : 0;
    }
    bool AsBool() const noexcept {
        const auto* const flag = std::get_if<bool>(&m_value);
        return flag != nullptr ? *flag : AsNumber() != 0;
    }
    bool operator==(const Value&) const = default;

private:
    std::variant<std::monostate, bool, std::int32_t, double, Text> m_value;
};

/// The displays (bits of LXDisplay) that show an attribute.
/// @param is      bool is(index): reads a boolean property of the attribute
/// @param origin  the value of its property Origin
template <class Is> LONG DisplaysOf(Is&& is, std::int32_t origin) {
    const auto bit = [](bool isSet, LXDisplay display) { return isSet ? LONG{display} : 0; };
    return bit(is(ShowInEditor), LXD_EDITOR) | bit(is(ShowInFinder) && !is(NotInFinder), LXD_FINDER) |
           bit(is(ShowInBrowser), LXD_BROWSER) | bit(is(Printable), LXD_PRINTABLE) |
           bit(origin == 0, LXD_VENDORDEFINED) | bit(is(InAvSet), LXD_INAVSET);
}

/// The kinds of elements of a configuration.
enum class Kind {
    Type,
    Page,
    Group,
    GroupFormat,
    Editor,
    Attribute,
    AttributeType,
    AttributeFormat,
    Relation,
    PCInfo,
    BrowserId,
    GlobalSpec,
    GlobalSpecFormat
};

/// A property with a name for ILXConfigObject::Get, and its default.
struct Property {
    int index;
    const char* name; ///< may be null
    Value initial;
};

/// The properties of a kind.
struct Properties {
    int count; ///< number of values in a record
    std::vector<Property> known;

    static const Properties& Of(Kind kind) {
        static const std::array<Properties, 13> all = Make();
        return all[static_cast<std::size_t>(kind)];
    }
    /// The index of a property by name; -1 if the kind has no such property.
    int Find(TextView name) const {
        for (const Property& property : known) {
            if (property.name != nullptr && name == WidenAscii(property.name)) { return property.index; }
        }
        return -1;
    }

private:
    static std::array<Properties, 13> Make() {
        const std::vector<Property> format{{AttributeName, "LXCFG_attributename", {}}};
        return {{{28,
                  {{TypeName, "LXCFG_typename", {}},
                   {BaseTypeName, "LXCFG_basetypename", {}},
                   {Searchable, "LXCFG_searchable", true},
                   {BaseType, "LXCFG_basetype", {}}}},
                 {7, {{PageNumber, "LXCFG_pagenumber", 0}}},
                 {16,
                  {{GroupNumber, "LXCFG_groupnumber", 0},
                   {GroupPage, "LXCFG_grouppagenumber", 0},
                   {ParentGroup, "LXCFG_parentgroupnumber", 0}}},
                 {60, format},
                 {5,
                  {{EditorBrowserId, "LXCFG_editorbrowserid", Text()},
                   {DefaultEditor, "LXCFG_defaulteditor", false},
                   {DefaultNewEditor, "LXCFG_defaultneweditor", false},
                   {ProgId, "LXCFG_progid", {}}}},
                 {60,
                  {{AttributeName, "LXCFG_attributename", {}},
                   {ShowInBrowser, "LXCFG_showinbrowser", false},
                   {ShowInEditor, "LXCFG_showineditor", false},
                   {ShowInFinder, "LXCFG_showinfinder", false},
                   {AttributeGroup, "LXCFG_attributegroupnumber", 0},
                   {InAvSet, "LXCFG_inavset", false},
                   {Printable, "LXCFG_printable", false},
                   {NotInFinder, "LXCFG_notinfinder", false},
                   {Origin, "LXCFG_origin", 0}}},
                 {7, {{AttributeTypeName, "LXCFG_attributetypename", {}}}},
                 {60, format},
                 {37,
                  {{ChildList, "LXCFPC_childlistname", Text()},
                   {ChildName, "LXCFPC_childname", Text()},
                   {SystemInternal, "LXCFPC_issysteminternal", false},
                   {ParentName, "LXCFPC_parentname", Text()},
                   {PPRRelationType, "LXCFPC_pprrelationtype", 0}}},
                 {10, {{PCInfoBrowser, "LXCFG_pcinfobrowserid", {}}, {PCInfoNew, "LXCFG_pcinfonew", 0}}},
                 {2, {{BrowserIdName, "LXCFG_browserid", {}}}},
                 {60, {{SpecId, "LXCFGAFS_attributepropertyid", {}}}},
                 {60, format}}};
    }
};

/// The values of one element.
class Record {
public:
    explicit Record(Kind kind) : m_kind(kind), m_values(Initial(kind)) {}

    Kind What() const noexcept { return m_kind; }
    int Count() const { return Properties::Of(m_kind).count; }
    const Value& operator[](int index) const {
        static const Value none;
        Check(index);
        const auto found = m_values->find(index);
        return found != m_values->end() ? found->second : none;
    }
    Record& Set(int index, Value value) {
        Check(index);
        if (m_values.use_count() > 1) { m_values = std::make_shared<std::map<int, Value>>(*m_values); }
        (*m_values)[index] = std::move(value);
        return *this;
    }

private:
    static std::shared_ptr<std::map<int, Value>> Initial(Kind kind) {
        auto values = std::make_shared<std::map<int, Value>>();
        for (const Property& property : Properties::Of(kind).known) {
            if (!property.initial.IsEmpty()) { values->emplace(property.index, property.initial); }
        }
        return values;
    }
    void Check(int index) const {
        if (index < 0 || index >= Count()) { throw std::out_of_range("property index"); }
    }

    Kind m_kind;
    std::shared_ptr<std::map<int, Value>> m_values; // copy-on-write: immutable while shared
};

template <Kind kind> struct RecordOf : Record {
    RecordOf() : Record(kind) {}
};
using PageRecord = RecordOf<Kind::Page>;
using EditorRecord = RecordOf<Kind::Editor>;
using AttributeTypeRecord = RecordOf<Kind::AttributeType>;
using AttributeFormatRecord = RecordOf<Kind::AttributeFormat>;
using GroupFormatRecord = RecordOf<Kind::GroupFormat>;
using SpecFormatRecord = RecordOf<Kind::GlobalSpecFormat>;
using PCInfoRecord = RecordOf<Kind::PCInfo>;
using BrowserIdRecord = RecordOf<Kind::BrowserId>;

/// The record for a key. Creates it, with the key as its property `index`, if there is none.
template <class Map> typename Map::mapped_type& AddTo(Map& map, const typename Map::key_type& key, int index) {
    const auto [added, isNew] = map.try_emplace(key);
    if (isNew) { added->second.Set(index, key); }
    return added->second;
}

struct GroupRecord : RecordOf<Kind::Group> {
    std::optional<GroupFormatRecord> format;
};

struct AttributeRecord : RecordOf<Kind::Attribute> {
    std::map<Text, AttributeTypeRecord> types;
    std::map<int, AttributeFormatRecord> formats; ///< by format type

    AttributeTypeRecord& AddType(const Text& name) { return AddTo(types, name, AttributeTypeName); }
    AttributeFormatRecord& AddFormat(int formatType) { return AddTo(formats, formatType, FormatType); }
};

struct TypeRecord : RecordOf<Kind::Type> {
    bool listed = true; ///< included in type enumerations
    std::map<int, PageRecord> pages;
    std::map<int, GroupRecord> groups;
    std::map<Text, AttributeRecord> attributes; ///< by name, without inherited ones
    std::map<Text, EditorRecord> editors;       ///< by ProgID

    const Text& Name() const { return (*this)[TypeName].AsText(); }
    const Text& Base() const { return (*this)[BaseTypeName].AsText(); }
    PageRecord& AddPage(int number) { return AddTo(pages, number, PageNumber); }
    GroupRecord& AddGroup(int number) { return AddTo(groups, number, GroupNumber); }
    AttributeRecord& AddAttribute(const Text& name) { return AddTo(attributes, name, AttributeName); }
    EditorRecord& AddEditor(const Text& progId) { return AddTo(editors, progId, ProgId); }
};

struct RelationRecord : RecordOf<Kind::Relation> {
    std::vector<PCInfoRecord> infos;

    PCInfoRecord& AddInfo(const Text& browserId) {
        infos.emplace_back().Set(PCInfoBrowser, browserId);
        return infos.back();
    }
};

struct GlobalSpecRecord : RecordOf<Kind::GlobalSpec> {
    std::map<int, SpecFormatRecord> formats; ///< by format type

    SpecFormatRecord& AddFormat(int formatType) { return AddTo(formats, formatType, FormatType); }
};

/// Identifies an element of a configuration across snapshots. Objects look up their current values with it. Create one
/// with the function for its kind.
struct Key {
    Kind kind{};
    Text owner{};   ///< type; parent of a relation; browser id; id of a global format spec
    Text name{};    ///< attribute; ProgID of an editor; child of a relation
    Text part{};    ///< attribute type; child list of a relation
    Text browser{}; ///< of a PC info
    int number = 0; ///< page, group or format type

    static Key OfType(const Text& type) { return {Kind::Type, type}; }
    static Key OfPage(const Text& type, int number) { return {Kind::Page, type, {}, {}, {}, number}; }
    static Key OfGroup(const Text& type, int number) { return {Kind::Group, type, {}, {}, {}, number}; }
    static Key OfGroupFormat(const Text& type, int number) { return {Kind::GroupFormat, type, {}, {}, {}, number}; }
    static Key OfEditor(const Text& type, const Text& progId) { return {Kind::Editor, type, progId}; }
    /// @param type  the type that defines the attribute, not one that inherits it
    static Key OfAttribute(const Text& type, const Text& name) { return {Kind::Attribute, type, name}; }
    static Key OfAttributeType(const Text& type, const Text& attribute, const Text& name) {
        return {Kind::AttributeType, type, attribute, name};
    }
    static Key OfAttributeFormat(const Text& type, const Text& attribute, int formatType) {
        return {Kind::AttributeFormat, type, attribute, {}, {}, formatType};
    }
    static Key OfRelation(const Text& parent, const Text& child, const Text& childList) {
        return {Kind::Relation, parent, child, childList};
    }
    static Key OfPCInfo(const Text& parent, const Text& child, const Text& childList, const Text& browserId) {
        return {Kind::PCInfo, parent, child, childList, browserId};
    }
    static Key OfBrowserId(const Text& name) { return {Kind::BrowserId, name}; }
    static Key OfSpec(const Text& id) { return {Kind::GlobalSpec, id}; }
    static Key OfSpecFormat(const Text& id, int formatType) {
        return {Kind::GlobalSpecFormat, id, {}, {}, {}, formatType};
    }
};

/// A key as text for messages, in UTF-8: "attribute Pump/RatedFlow".
inline std::string Describe(const Key& key) {
    struct Name {
        const char* kind;
        bool isNumbered;
    };
    static constexpr Name names[] = {
        {"type", false},        {"page", true},       {"group", true},           {"group format", true},
        {"editor", false},      {"attribute", false}, {"attribute type", false}, {"attribute format", true},
        {"relation", false},    {"PC info", false},   {"browser id", false},     {"global format spec", false},
        {"global format", true}};
    const Name& name = names[static_cast<std::size_t>(key.kind)];
    std::string text = name.kind + (' ' + ToUtf8(key.owner));
    for (const Text* const part : {&key.name, &key.part, &key.browser}) {
        if (!part->empty()) { text += '/' + ToUtf8(*part); }
    }
    return name.isNumbered ? text + '/' + std::to_string(key.number) : text;
}

struct Model {
    Text version = OLESTR("1");
    std::map<Text, TypeRecord> types;
    std::vector<RelationRecord> relations; ///< clients get them in this order
    std::vector<BrowserIdRecord> browserIds;
    std::map<Text, GlobalSpecRecord> specs;

    TypeRecord& AddType(const Text& name, const Text& base = {}) {
        TypeRecord& type = AddTo(types, name, TypeName);
        if (!base.empty()) { type.Set(BaseTypeName, base); }
        return type;
    }
    RelationRecord& AddRelation(const Text& parent, const Text& child, const Text& childList) {
        RelationRecord& added = relations.emplace_back();
        added.Set(ParentName, parent).Set(ChildName, child).Set(ChildList, childList);
        return added;
    }
    BrowserIdRecord& AddBrowserId(const Text& name) {
        browserIds.emplace_back().Set(BrowserIdName, name);
        return browserIds.back();
    }
    GlobalSpecRecord& AddSpec(const Text& id) { return AddTo(specs, id, SpecId); }

    /// The type and its base types, nearest first. An unknown base ends the chain, and so does a cycle.
    std::vector<const TypeRecord*> BaseChain(const Text& name) const {
        std::vector<const TypeRecord*> chain;
        for (auto type = types.find(name);
             type != types.end() && std::find(chain.begin(), chain.end(), &type->second) == chain.end();
             type = types.find(type->second.Base())) {
            chain.push_back(&type->second);
        }
        return chain;
    }
};

/// Finds an element of a map; null if there is none.
template <class Map> const typename Map::mapped_type* FindIn(const Map& map, const typename Map::key_type& key) {
    const auto found = map.find(key);
    return found != map.end() ? &found->second : nullptr;
}

inline const RelationRecord* FindRelation(const Model& model, const Key& key) {
    for (const RelationRecord& relation : model.relations) {
        if (relation[ParentName].AsText() == key.owner && relation[ChildName].AsText() == key.name &&
            relation[ChildList].AsText() == key.part) {
            return &relation;
        }
    }
    return nullptr;
}

/// The PC info for a browser; the last one if there are several, null if there is none.
inline const PCInfoRecord* FindInfo(const RelationRecord& relation, TextView browser) {
    const PCInfoRecord* found = nullptr;
    for (const PCInfoRecord& info : relation.infos) {
        found = EqualWithoutCase(info[PCInfoBrowser].AsText(), browser) ? &info : found;
    }
    return found;
}

/// The record of a type or of one of its components; null if there is none.
inline const Record* FindComponent(const TypeRecord& type, const Key& key) {
    if (key.kind == Kind::Type) { return &type; }
    if (key.kind == Kind::Page) { return FindIn(type.pages, key.number); }
    if (key.kind == Kind::Editor) { return FindIn(type.editors, key.name); }
    const GroupRecord* const group = FindIn(type.groups, key.number);
    if (key.kind == Kind::Group) { return group; }
    if (key.kind == Kind::GroupFormat) { return group != nullptr && group->format ? &*group->format : nullptr; }
    const AttributeRecord* const attribute = FindIn(type.attributes, key.name);
    if (attribute == nullptr || key.kind == Kind::Attribute) { return attribute; }
    if (key.kind == Kind::AttributeType) { return FindIn(attribute->types, key.part); }
    return FindIn(attribute->formats, key.number);
}

/// The record of an element; null if the model does not contain it.
inline const Record* Find(const Model& model, const Key& key) {
    switch (key.kind) {
    case Kind::Relation: return FindRelation(model, key);
    case Kind::PCInfo: {
        const RelationRecord* const relation = FindRelation(model, key);
        return relation != nullptr ? FindInfo(*relation, key.browser) : nullptr;
    }
    case Kind::BrowserId:
        for (const BrowserIdRecord& browserId : model.browserIds) {
            if (browserId[BrowserIdName].AsText() == key.owner) { return &browserId; }
        }
        return nullptr;
    case Kind::GlobalSpec: return FindIn(model.specs, key.owner);
    case Kind::GlobalSpecFormat: {
        const GlobalSpecRecord* const spec = FindIn(model.specs, key.owner);
        return spec != nullptr ? FindIn(spec->formats, key.number) : nullptr;
    }
    default: {
        const TypeRecord* const type = FindIn(model.types, key.owner);
        return type != nullptr ? FindComponent(*type, key) : nullptr;
    }
    }
}
/// The same for a model that may be modified.
inline Record* Find(Model& model, const Key& key) {
    return const_cast<Record*>(Find(static_cast<const Model&>(model), key));
}
/// The record of an element that must exist. Throws std::out_of_range, with the key in its text, if it does not.
inline Record& At(Model& model, const Key& key) {
    Record* const found = Find(model, key);
    if (found == nullptr) { throw std::out_of_range("the model has no " + Describe(key)); }
    return *found;
}
} // namespace lx

#endif

// SPDX-License-Identifier: MIT
#include "XPage.h"

#include "XCfcSession.h"
#include "XProgress.h"
#include "pagetext.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>

namespace {
/// A property that the page itself uses, with its name in the script.
struct Meaning {
    XElementKind kind;
    const char* name;
    int index;
};
constexpr Meaning Meanings[] = {
    {XElementKind::Type, "name", XProperty::TypeName},
    {XElementKind::Type, "label", XProperty::TypeLabel},
    {XElementKind::Type, "base", XProperty::BaseTypeName},
    {XElementKind::Type, "searchable", XProperty::Searchable},
    {XElementKind::Attribute, "name", XProperty::AttributeName},
    {XElementKind::Attribute, "label", XProperty::Label},
    {XElementKind::Attribute, "dataType", XProperty::DataType},
    {XElementKind::Attribute, "unit", XProperty::Unit},
    {XElementKind::Attribute, "group", XProperty::AttributeGroup},
    {XElementKind::Attribute, "default", XProperty::DefaultValue},
    {XElementKind::Attribute, "editor", XProperty::ShowInEditor},
    {XElementKind::Attribute, "finder", XProperty::ShowInFinder},
    {XElementKind::Attribute, "browser", XProperty::ShowInBrowser},
    {XElementKind::AttributeType, "name", XProperty::AttributeTypeName},
    {XElementKind::AttributeType, "label", XProperty::AttributeTypeLabel},
    {XElementKind::Format, "name", XProperty::FormatName},
    {XElementKind::Format, "pattern", XProperty::FormatPattern},
    {XElementKind::Format, "width", XProperty::FormatWidth},
    {XElementKind::Page, "number", XProperty::PageNumber},
    {XElementKind::Page, "label", XProperty::PageLabel},
    {XElementKind::Group, "number", XProperty::GroupNumber},
    {XElementKind::Group, "label", XProperty::GroupLabel},
    {XElementKind::Group, "page", XProperty::GroupPage},
    {XElementKind::Group, "parent", XProperty::ParentGroup},
    {XElementKind::Editor, "progId", XProperty::ProgId},
    {XElementKind::Editor, "browser", XProperty::EditorBrowserId},
    {XElementKind::Editor, "menu", XProperty::MenuText},
    {XElementKind::Editor, "default", XProperty::DefaultEditor},
    {XElementKind::Editor, "defaultNew", XProperty::DefaultNewEditor},
    {XElementKind::Relation, "parent", XProperty::ParentName},
    {XElementKind::Relation, "child", XProperty::ChildName},
    {XElementKind::Relation, "list", XProperty::ChildList},
    {XElementKind::Relation, "short", XProperty::NameShort},
    {XElementKind::Relation, "ppr", XProperty::PPRRelationType},
    {XElementKind::Relation, "internal", XProperty::SystemInternal},
    {XElementKind::PCInfo, "browser", XProperty::PCInfoBrowser},
    {XElementKind::PCInfo, "new", XProperty::PCInfoNew},
    {XElementKind::BrowserId, "name", XProperty::BrowserIdName},
    {XElementKind::BrowserId, "label", XProperty::BrowserIdLabel},
    {XElementKind::GlobalSpec, "name", XProperty::SpecId},
    {XElementKind::GlobalSpec, "label", XProperty::SpecLabel},
};
constexpr std::pair<const char*, XElementKind> PageKinds[] = {
    {"type", XElementKind::Type},       {"attribute", XElementKind::Attribute},
    {"format", XElementKind::Format},   {"choice", XElementKind::AttributeType},
    {"page", XElementKind::Page},       {"group", XElementKind::Group},
    {"editor", XElementKind::Editor},   {"relation", XElementKind::Relation},
    {"shown", XElementKind::PCInfo},    {"browser", XElementKind::BrowserId},
    {"spec", XElementKind::GlobalSpec},
};

/// The properties of a kind that the page contains: those with names, without the base type's object.
std::vector<int> ColumnsOf(XElementKind kind) {
    std::vector<int> columns = XPropertyNames::The().Indexes(kind);
    if (kind == XElementKind::Type) { std::erase(columns, static_cast<int>(XProperty::BaseType)); }
    return columns;
}

/// The names of each kind's values, in order, with the positions of those that the page itself uses.
XJson KindTable() {
    XJson kinds = XJson::object();
    for (const auto& [name, kind] : PageKinds) {
        const std::vector<int> columns = ColumnsOf(kind);
        XJson& entry = kinds[name] = {{"keys", XJson::array()}, {"at", XJson::object()}};
        for (const int column : columns) {
            entry["keys"].push_back(XPropertyNames::The().Key(kind, column));
        }
        for (const Meaning& meaning : Meanings) {
            const auto column = std::find(columns.begin(), columns.end(), meaning.index);
            if (meaning.kind == kind && column != columns.end()) {
                entry["at"][meaning.name] = column - columns.begin();
            }
        }
    }
    return kinds;
}

XJson ValuesOf(XElementKind kind, ILXConfigObject& object) {
    XJson values = XJson::array();
    for (const int column : ColumnsOf(kind)) {
        values.push_back(LXPropertyOf(object, column));
    }
    return {{"v", std::move(values)}};
}

template <class Element, class Enumerator, class Call>
XJson AllOf(const char* what, XElementKind kind, const Call& call) {
    XJson all = XJson::array();
    for (const auto& element : LXOffered<Element, Enumerator>(what, call)) {
        all.push_back(ValuesOf(kind, *element));
    }
    return all;
}

template <class Owner> void AddFormats(XJson& json, Owner& owner) {
    for (const auto& [formatType, format] : LXFormatsOf(owner)) {
        json["formats"][std::to_string(formatType)] = ValuesOf(XElementKind::Format, *format);
    }
}

/// Reads types. Each attribute is read at the type that defines it.
class TypeReader {
public:
    explicit TypeReader(ILXConfigFactory& factory) : m_factory(factory) {}

    /// Null if there is no such type.
    XJson Read(const std::string& name) {
        XLXComPtr<ILXType> type;
        if (m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put()) != S_OK) { return nullptr; }
        XJson json = ValuesOf(XElementKind::Type, *type);
        json["name"] = name;
        json["pages"] = AllOf<ILXPage, ILXPageEnum>("GetPageEnum", XElementKind::Page,
                                                    [&](auto** out) { return type->GetPageEnum(out); });
        json["groups"] = Groups(*type);
        json["editors"] = AllOf<ILXConfObjEditor, ILXConfObjEditorEnum>(
            "GetConfObjEditorEnum", XElementKind::Editor, [&](auto** out) { return type->GetConfObjEditorEnum(out); });
        const std::string base = LXTextOf(*type, XProperty::BaseTypeName);
        const std::set<std::string> inherited = base.empty() ? std::set<std::string>() : AttributeNames(base);
        XJson& attributes = json["attributes"] = XJson::array();
        for (const auto& attribute : Attributes(*type)) {
            if (!inherited.contains(LXTextOf(*attribute, XProperty::AttributeName))) {
                attributes.push_back(Attribute(*attribute));
            }
        }
        return json;
    }

private:
    static std::vector<XLXComPtr<ILXAttribute>> Attributes(ILXType& type) {
        return LXOffered<ILXAttribute, ILXAttributeEnum>(
            "GetDisplayAttributeEnum", [&](auto** out) { return type.GetDisplayAttributeEnum(0, out); });
    }
    static XJson Attribute(ILXAttribute& attribute) {
        XJson json = ValuesOf(XElementKind::Attribute, attribute);
        XJson choices = AllOf<ILXAttributeType, ILXAttributeTypeEnum>(
            "GetAttributeTypeEnum", XElementKind::AttributeType,
            [&](auto** out) { return attribute.GetAttributeTypeEnum(out); });
        if (!choices.empty()) { json["choices"] = std::move(choices); }
        AddFormats(json, attribute);
        return json;
    }
    static XJson Groups(ILXType& type) {
        XJson groups = XJson::array();
        for (const auto& group :
             LXOffered<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); })) {
            XJson& json = groups.emplace_back(ValuesOf(XElementKind::Group, *group));
            XLXComPtr<ILXFormat> format;
            if (group->GetFormat(format.Put()) == S_OK) {
                json["formats"]["0"] = ValuesOf(XElementKind::Format, *format);
            }
        }
        return groups;
    }
    /// The attributes of a base, which derived types inherit.
    const std::set<std::string>& AttributeNames(const std::string& name) {
        const auto [known, isNew] = m_attributeNames.try_emplace(name);
        XLXComPtr<ILXType> type;
        if (isNew && m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put()) == S_OK) {
            const auto names = LXTextsOf(Attributes(*type), XProperty::AttributeName);
            known->second.insert(names.begin(), names.end());
        }
        return known->second;
    }

    ILXConfigFactory& m_factory;
    std::map<std::string, std::set<std::string>> m_attributeNames; ///< by type
};

/// The relations. The names of their ends do not depend on the file of names.
XJson Relations(ILXConfigFactory& factory) {
    XJson relations = XJson::array();
    for (const auto& relation : LXOffered<ILXParentChild, ILXParentChildEnum>(
             "GetParentChildEnum", [&](auto** out) { return factory.GetParentChildEnum(nullptr, nullptr, out); })) {
        XJson& json = relations.emplace_back(ValuesOf(XElementKind::Relation, *relation));
        json["parent"] = LXTextOf(*relation, XProperty::ParentName);
        json["child"] = LXTextOf(*relation, XProperty::ChildName);
        json["shown"] = AllOf<ILXPCInfo, ILXPCInfoEnum>("GetPCInfoEnum", XElementKind::PCInfo,
                                                        [&](auto** out) { return relation->GetPCInfoEnum(out); });
    }
    return relations;
}

XJson Specs(ILXConfigFactory& factory) {
    XJson specs = XJson::array();
    for (const auto& spec : LXOffered<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
             "GetAllGlobalAttributeFormatSpecs",
             [&](auto** out) { return factory.GetAllGlobalAttributeFormatSpecs(out); })) {
        AddFormats(specs.emplace_back(ValuesOf(XElementKind::GlobalSpec, *spec)), *spec);
    }
    return specs;
}

/// All types that are listed, are bases of others, or occur in relations.
XJson Types(ILXConfigFactory& factory, const XJson& relations) {
    const XTypeNodes nodes = LXTypeNodes(factory);
    std::set<std::string> names;
    for (const auto& [name, node] : nodes) {
        names.insert(name);
    }
    for (const XJson& relation : relations) {
        names.insert(relation["parent"].get<std::string>());
        names.insert(relation["child"].get<std::string>());
    }
    TypeReader reader(factory);
    XProgress progress("Reading", names.size());
    XJson types = XJson::array();
    for (const std::string& name : names) {
        XJson type = reader.Read(name);
        const auto node = nodes.find(name);
        if (node == nodes.end() || !node->second.listed) { type["unlisted"] = true; }
        if (type.contains("v")) { types.push_back(std::move(type)); }
        progress.Step();
    }
    return types;
}

template <class Wanted> void KeepThose(XJson& rows, const Wanted& isWanted) {
    XJson kept = XJson::array();
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(kept), isWanted);
    rows = std::move(kept);
}
} // namespace

std::string LXConfigurationName(const XServerChoice& choice) {
    if (!choice.name.empty()) { return choice.name; }
    if (choice.generated > 0) { return std::to_string(choice.generated) + " generated types"; }
    return LXConfigurationName(choice.model.empty() ? LXShippedModel() : choice.model);
}

std::string LXConfigurationName(const std::string& fileOrServer) {
    return fileOrServer.substr(fileOrServer.find_last_of("/\\") + 1);
}

XPageData::XPageData(ILXConfigFactory& factory, const std::string& name) {
    XLXComBSTR version;
    m_data["name"] = name;
    m_data["version"] = factory.GetVersion(version.Put()) == S_OK ? LXToUtf8(version.View()) : "";
    m_data["kinds"] = KindTable();
    for (const auto& [key, words] : XPropertyNames::The().Words()) {
        m_data["words"][key] = words; // pairs of number and word
    }
    m_data["relations"] = Relations(factory);
    m_data["types"] = Types(factory, m_data["relations"]);
    m_data["browsers"] = AllOf<ILXBrowserId, ILXBrowserIdEnum>(
        "GetBrowserIdEnum", XElementKind::BrowserId, [&](auto** out) { return factory.GetBrowserIdEnum(out); });
    m_data["specs"] = Specs(factory);
}

void XPageData::Keep(const std::vector<std::string>& names) {
    std::map<std::string, std::string> bases;
    const std::size_t base = m_data["kinds"]["type"]["at"]["base"];
    for (const XJson& type : m_data["types"]) {
        bases.emplace(type["name"], LXPlain(type["v"][base]));
    }
    std::set<std::string> kept;
    for (const std::string& name : names) {
        for (auto at = bases.find(name); at != bases.end() && kept.insert(at->first).second;) {
            at = bases.find(at->second);
        }
    }
    KeepThose(m_data["types"], [&](const XJson& type) { return kept.contains(type["name"]); });
    KeepThose(m_data["relations"], [&](const XJson& relation) {
        return kept.contains(relation["parent"]) && kept.contains(relation["child"]);
    });
}

void XPageData::AddRemoved(const XPageData& before) {
    std::set<std::string> names;
    for (const XJson& type : m_data["types"]) {
        names.insert(type["name"]);
    }
    for (XJson type : before.m_data["types"]) {
        if (names.contains(type["name"])) { continue; }
        type["removed"] = true;
        m_data["types"].push_back(std::move(type));
    }
}

// Escapes "<", so that no text can end the script element that holds the data, and the line separators that JSON allows
// in texts but older versions of JavaScript do not.
std::string XPageData::Html() const {
    std::string data = m_data.dump(-1, ' ', false, XJson::error_handler_t::replace);
    for (const auto& [what, escape] :
         {std::pair("<", "\\u003c"), std::pair("\xe2\x80\xa8", "\\u2028"), std::pair("\xe2\x80\xa9", "\\u2029")}) {
        data = LXReplaced(data, what, escape);
    }
    constexpr std::string_view Mark = "%DATA%";
    std::string page;
    for (const std::string_view piece : PageText) {
        page += piece;
    }
    const std::size_t at = page.find(Mark);
    LXExpectThat(at != std::string::npos, "the page has no place for its data");
    return page.replace(at, Mark.size(), data);
}

void LXWriteText(const std::string& file, const std::string& text) {
    if (file.empty()) {
        std::fwrite(text.data(), 1, text.size(), stdout); // write errors are checked at the program's end
        return;
    }
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    LXExpectThat(static_cast<bool>(stream.flush()), file + " cannot be written");
}

std::string LXReplaced(std::string_view text, std::string_view what, std::string_view by) {
    std::string replaced;
    for (std::size_t at = text.find(what); at != text.npos; at = text.find(what)) {
        replaced.append(text.substr(0, at)).append(by);
        text.remove_prefix(at + what.size());
    }
    return replaced.append(text);
}

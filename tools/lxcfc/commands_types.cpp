// SPDX-License-Identifier: MIT
//
// Types: their tree, one type with all its components, attributes by display, derived types.
#include "XCfcObjects.h"
#include "XCommands.h"

#include <algorithm>
#include <set>

namespace {
/// Types as a tree that contains each type once, even if bases form cycles.
class Tree {
public:
    explicit Tree(const XTypeNodes& types) : m_types(types) {}

    /// Adds a type with all derived types.
    void Add(const XTypeNode& root) { m_nodes.push_back(Node(root)); }
    /// Adds all types: those without a base, then those that no root leads to because their bases form a cycle.
    void AddAll() {
        for (const auto& [name, type] : m_types) {
            if (!m_types.contains(type.base)) { Add(type); }
        }
        for (const auto& circle : LXCirclesOf(m_types)) {
            Add(m_types.at(circle.front()));
        }
    }
    /// Adds the tree, its number of types and their problems to an answer.
    void Answer(XJson& answer) {
        answer["types"] = m_shown.size();
        for (const auto& circle : LXCirclesOf(m_types)) {
            if (m_shown.contains(circle.front())) {
                answer["findings"].push_back(
                    {{"finding", "bases in a circle"}, {"types", LXJoined(circle, " -> ") + " -> " + circle.front()}});
            }
        }
        answer["tree"] = std::move(m_nodes);
    }

private:
    XJson Node(const XTypeNode& type) {
        m_shown.insert(type.name);
        XJson node = {{"name", type.name}, {"label", type.label}};
        if (!type.listed) { node["unlisted"] = true; }
        for (const std::string& derived : type.derived) {
            if (!m_shown.contains(derived)) { node["children"].push_back(Node(m_types.at(derived))); }
        }
        return node;
    }

    const XTypeNodes& m_types;
    std::set<std::string> m_shown;
    XJson m_nodes = XJson::array();
};

class TypesCommand {
public:
    void Declare(CLI::App& app) { app.add_option("--root", m_root, "Only this type and what derives from it"); }
    int Run(XRun& run) const {
        const XTypeNodes types = LXTypeNodes(run.Session().Cached());
        Tree tree(types);
        if (m_root.empty()) {
            tree.AddAll();
        } else {
            run.Session().Type(m_root);
            const auto root = types.find(m_root);
            LXExpectThat(root != types.end(), "the type \"" + m_root + "\" is not listed");
            tree.Add(root->second);
        }
        XJson answer = XJson::object();
        tree.Answer(answer);
        return run.Answer(answer);
    }

private:
    std::string m_root;
};

/// The names of the displays that an attribute is shown in.
XJson DisplaysOf(ILXAttribute& attribute) {
    XJson shown = XJson::array();
    for (const auto& [name, member] :
         {std::pair("editor", XProperty::ShowInEditor), std::pair("finder", XProperty::ShowInFinder),
          std::pair("browser", XProperty::ShowInBrowser)}) {
        if (LXPropertyOf(attribute, member) == true) { shown.push_back(name); }
    }
    return shown;
}

XJson AttributeRow(ILXAttribute& attribute) {
    XJson row = LXSomeOf(XElementKind::Attribute, attribute,
                         {XProperty::AttributeName, XProperty::Label, XProperty::DataType, XProperty::Unit,
                          XProperty::AttributeGroup, XProperty::DefaultValue});
    row["shown"] = DisplaysOf(attribute);
    return row;
}

class TypeCommand {
public:
    void Declare(CLI::App& app) { app.add_option("NAME", m_name, "The type")->required(); }
    int Run(XRun& run) const {
        const auto type = run.Session().Type(m_name);
        XJson answer = {{"type", m_name}, {"bases", LXBasesOf(LXTypeNodes(run.Session().Cached()), m_name)}};
        XJson values = LXNamedValuesOf(XElementKind::Type, *type);
        values.erase(XPropertyNames::The().Key(XElementKind::Type, XProperty::BaseType)); // an object
        answer["values"] = std::move(values);
        AddGroupsAndPages(answer, *type);
        XJson& attributes = answer["attributes"] = XJson::array();
        for (const auto& attribute : LXAttributesOf(*type, 0)) {
            attributes.push_back(AttributeRow(*attribute));
        }
        answer["editors"] = LXRows<ILXConfObjEditor, ILXConfObjEditorEnum>(
            "GetConfObjEditorEnum", XElementKind::Editor,
            {XProperty::ProgId, XProperty::EditorBrowserId, XProperty::MenuText, XProperty::DefaultEditor,
             XProperty::DefaultNewEditor},
            [&](auto** out) { return type->GetConfObjEditorEnum(out); });
        return run.Answer(answer);
    }

private:
    static void AddGroupsAndPages(XJson& answer, ILXType& type) {
        answer["pages"] = LXRows<ILXPage, ILXPageEnum>("GetPageEnum", XElementKind::Page,
                                                       {XProperty::PageNumber, XProperty::PageLabel},
                                                       [&](auto** out) { return type.GetPageEnum(out); });
        answer["groups"] = LXRows<ILXGroup, ILXGroupEnum>(
            "GetGroupEnum", XElementKind::Group,
            {XProperty::GroupNumber, XProperty::GroupLabel, XProperty::GroupPage, XProperty::ParentGroup},
            [&](auto** out) { return type.GetGroupEnum(out); });
    }

    std::string m_name;
};

class AttributesCommand {
public:
    void Declare(CLI::App& app) {
        std::vector<std::string> names;
        for (const auto& [name, mask] : LXDisplays()) {
            names.push_back(name);
        }
        app.add_option("NAME", m_name, "The type")->required();
        app.add_option("--display", m_display, "Those shown in: " + LXJoined(names, ", "))->check(CLI::IsMember(names));
        app.add_option("--group", m_group, "Those of this group");
    }
    int Run(XRun& run) const {
        const auto type = run.Session().Type(m_name);
        if (m_group) { NeedGroup(*type); }
        const auto display = std::find_if(LXDisplays().begin(), LXDisplays().end(),
                                          [this](const auto& entry) { return entry.first == m_display; });
        XJson rows = XJson::array();
        for (const auto& attribute :
             m_group
                 ? LXList<ILXAttribute, ILXAttributeEnum>(
                       "GetDisplayGroupAttributeEnum",
                       [&](auto** out) { return type->GetDisplayGroupAttributeEnum(display->second, *m_group, out); })
                 : LXAttributesOf(*type, display->second)) {
            rows.push_back(AttributeRow(*attribute));
        }
        XJson answer = {{"type", m_name}, {"display", m_display}, {"count", rows.size()}};
        answer["attributes"] = std::move(rows);
        return run.Answer(answer);
    }

private:
    void NeedGroup(ILXType& type) const {
        std::vector<std::string> numbers;
        for (const auto& group :
             LXList<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); })) {
            numbers.push_back(std::to_string(LXNumberOf(*group, XProperty::GroupNumber)));
        }
        const bool known = std::find(numbers.begin(), numbers.end(), std::to_string(*m_group)) != numbers.end();
        LXExpectThat(known, "\"" + m_name + "\" has no group " + std::to_string(*m_group) +
                                "; it has: " + LXJoined(numbers, ", "));
    }

    std::string m_name;
    std::string m_display = "all";
    std::optional<int> m_group;
};

class DerivedCommand {
public:
    void Declare(CLI::App& app) { app.add_option("NAME", m_name, "The type")->required(); }
    int Run(XRun& run) const {
        XCfcSession& session = run.Session();
        session.Type(m_name);
        const XTypeNodes types = LXTypeNodes(session.Cached());
        const std::vector<std::string> derived = LXDerivedOf(session.Cache(), m_name);
        XJson answer = {{"type", m_name}, {"bases", LXBasesOf(types, m_name)}, {"derivedTypes", derived.size()}};
        answer["derived"] = derived;
        Tree tree(types);
        if (const auto root = types.find(m_name); root != types.end()) { tree.Add(root->second); }
        tree.Answer(answer);
        return run.Answer(answer);
    }

private:
    std::string m_name;
};
} // namespace

void LXAddTypeCommands(XCommands& commands) {
    commands.Add<TypesCommand>("types", "The inheritance tree");
    commands.Add<TypeCommand>("type", "One type: values, pages, groups, attributes, editors");
    commands.Add<AttributesCommand>("attributes", "The attributes that a type shows in a display");
    commands.Add<DerivedCommand>("derived", "What a type derives from, and what derives from it");
}

// SPDX-License-Identifier: MIT
//
// A type as clients read it from the cache.
#include "demo_sections.h"

#include <map>

namespace {
enum Display : LONG { InEditor = 1, InFinder = 2, InBrowser = 4, Printable = 8, VendorDefined = 16, InAVSet = 32 };

constexpr int TopGroup = 10; // "Operating data"

std::vector<XLXComPtr<ILXGroup>> GroupsOf(ILXType& type) {
    return LXList<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); });
}

std::vector<XLXComPtr<ILXAttribute>> AttributesOfGroup(ILXType& type, LONG group) {
    return LXList<ILXAttribute, ILXAttributeEnum>("GetGroupAttributeEnum",
                                                  [&](auto** out) { return type.GetGroupAttributeEnum(group, out); });
}

/// The type that an attribute comes from: the topmost base that has it, because a base's definition takes precedence.
std::size_t OriginOf(const std::vector<XLXComPtr<ILXType>>& chain, const std::string& attribute) {
    std::size_t origin = 0;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        XLXComPtr<ILXAttribute> found;
        if (chain[i]->GetAttribute(LXBstr(attribute).Get(), found.Put()) == S_OK) { origin = i; }
    }
    return origin;
}

void PrintGroups(XToolOutput& output, const std::vector<XLXComPtr<ILXType>>& chain) {
    std::vector<std::string> titles = {">No", "Group", ">Attributes"};
    for (const auto& type : chain) {
        titles.push_back(">" + LXTextOf(*type, XProperty::TypeName));
    }
    XToolTable table(titles);
    for (const auto& group : GroupsOf(*chain.front())) {
        const LONG number = LXNumberOf(*group, XProperty::GroupNumber);
        std::vector<int> from(chain.size());
        const auto attributes = AttributesOfGroup(*chain.front(), number);
        for (const auto& attribute : attributes) {
            ++from[OriginOf(chain, LXTextOf(*attribute, XProperty::AttributeName))];
        }
        std::vector<std::string> row = {std::to_string(number), LXTextOf(*group, XProperty::GroupLabel),
                                        std::to_string(attributes.size())};
        for (const int count : from) {
            row.push_back(count != 0 ? std::to_string(count) : "-");
        }
        table.Row(std::move(row));
    }
    output.Table(table);
}

/// Prints the first attributes of each group and the types that they come from.
void PrintAttributes(XToolOutput& output, const std::vector<XLXComPtr<ILXType>>& chain, LONG group) {
    constexpr int Most = 2; // per type
    XToolTable table({"Attribute", "Label", "Unit", ">Group", "Comes from"});
    std::map<std::size_t, int> shown;
    for (const auto& attribute : AttributesOfGroup(*chain.front(), group)) {
        const std::string name = LXTextOf(*attribute, XProperty::AttributeName);
        const std::size_t origin = OriginOf(chain, name);
        if (++shown[origin] <= Most) {
            table.Row({name, LXTextOf(*attribute, XProperty::Label), LXTextOf(*attribute, XProperty::Unit),
                       std::to_string(LXNumberOf(*attribute, XProperty::AttributeGroup)),
                       origin == 0 ? "the type itself" : LXTextOf(*chain[origin], XProperty::TypeName)});
        }
    }
    output.Table(table);
}
} // namespace

std::vector<XLXComPtr<ILXType>> LXBaseChain(const XDemoSession& session, const XLXComPtr<ILXType>& type) {
    std::vector<XLXComPtr<ILXType>> chain = {type};
    for (;;) {
        const std::string base = LXTextOf(*chain.back(), XProperty::BaseTypeName);
        if (base.empty()) { return chain; }
        XLXComPtr<ILXType> next;
        LXExpect(session.Factory()->GetType(LXBstr(base).Get(), nullptr, next.Put()), "GetType");
        chain.push_back(next);
    }
}

void LXShowType(XToolOutput& output, const XDemoSession& session) {
    output.Section(std::string("The type ") + DemoType + " with its inherited attributes by group");
    const XMeasured cost = session.Measure([&] {
        const auto chain = LXBaseChain(session, session.CachedType(DemoType));
        LXExpectThat(chain.size() == 5, "the type does not have its four base types");
        output.Line("Bases: " + LXJoined(LXTextsOf(chain, XProperty::TypeName), " < ")); // nearest first
        PrintGroups(output, chain);
        output.Line();
        output.Line("Two of each type in the groups 1 and 11:");
        PrintAttributes(output, chain, 1);
        PrintAttributes(output, chain, 11);
    });
    LXPrintCalls(output, cost);
}

void LXShowDisplays(XToolOutput& output, const XDemoSession& session) {
    output.Section("Attributes by display");
    const auto type = session.CachedType(DemoType);
    XToolTable table({"Display", ">Mask", ">Attributes", "First"});
    const XMeasured cost = session.Measure([&] {
        for (const auto& [name, mask] : {std::pair("editor", InEditor), std::pair("finder", InFinder),
                                         std::pair("browser", InBrowser), std::pair("printable", Printable),
                                         std::pair("vendor-defined", VendorDefined), std::pair("AV set", InAVSet)}) {
            const auto attributes =
                LXList<ILXAttribute, ILXAttributeEnum>("GetDisplayAttributeEnum", [&, mask = mask](auto** out) {
                    return type->GetDisplayAttributeEnum(mask, out);
                });
            LXExpectThat(!attributes.empty(), std::string("no attribute is shown for ") + name);
            table.Row({name, std::to_string(mask), std::to_string(attributes.size()),
                       LXFirstOf(LXTextsOf(attributes, XProperty::AttributeName), 3)});
        }
    });
    output.Table(table);
    output.Line();
    output.Line("Server calls: " + std::to_string(cost.calls.Total()));
}

void LXShowEditors(XToolOutput& output, const XDemoSession& session) {
    output.Section("Editors");
    const auto type = session.CachedType(DemoType);
    const auto editors = LXList<ILXConfObjEditor, ILXConfObjEditorEnum>(
        "GetConfObjEditorEnum", [&](auto** out) { return type->GetConfObjEditorEnum(out); });
    XToolTable table({"ProgId", "Browser", "Menu text", "Default", "Default for new"});
    for (const auto& editor : editors) {
        table.Row({LXTextOf(*editor, XProperty::ProgId), LXTextOf(*editor, XProperty::EditorBrowserId),
                   LXTextOf(*editor, XProperty::MenuText), LXFlagOf(*editor, XProperty::DefaultEditor),
                   LXFlagOf(*editor, XProperty::DefaultNewEditor)});
    }
    output.Table(table);

    // Upper case on purpose: browser ids are compared ignoring case.
    XLXComPtr<ILXConfObjEditor> byDefault;
    XLXComPtr<ILXConfObjEditor> forNew;
    LXExpect(type->GetDefaultEditor(LXBstr("PROJECTTREE").Get(), byDefault.Put()), "GetDefaultEditor");
    LXExpect(type->GetDefaultNewEditor(LXBstr("PROJECTTREE").Get(), forNew.Put()), "GetDefaultNewEditor");
    XLXComPtr<ILXConfObjEditor> none;
    LXExpect(type->GetDefaultEditor(LXBstr("SearchList").Get(), none.Put()), "GetDefaultEditor", S_FALSE);
    output.Line();
    output.Line("Browser ProjectTree: opens with " + LXTextOf(*byDefault, XProperty::ProgId) + ", new objects with " +
                LXTextOf(*forNew, XProperty::ProgId));
    output.Line("Browser SearchList:  has no default editor (S_FALSE)");
}

void LXShowChildGroups(XToolOutput& output, const XDemoSession& session) {
    const auto type = session.CachedType(DemoType);
    XLXComPtr<ILXGroup> top;
    LXExpect(type->GetGroup(TopGroup, top.Put()), "GetGroup");
    output.Section("The groups inside group " + std::to_string(TopGroup) + ", \"" +
                   LXTextOf(*top, XProperty::GroupLabel) + "\"");
    const auto children =
        LXList<ILXGroup, ILXGroupEnum>("GetChildGroupEnum", [&](auto** out) { return top->GetChildGroupEnum(out); });
    LXExpectThat(!children.empty(), "the group has no groups inside it");
    XToolTable table({">No", "Group", ">Page", ">Attributes", "First"});
    for (const auto& group : children) {
        const LONG number = LXNumberOf(*group, XProperty::GroupNumber);
        const auto attributes = AttributesOfGroup(*type, number);
        table.Row({std::to_string(number), LXTextOf(*group, XProperty::GroupLabel),
                   std::to_string(LXNumberOf(*group, XProperty::GroupPage)), std::to_string(attributes.size()),
                   LXFirstOf(LXTextsOf(attributes, XProperty::Label), 3)});
    }
    output.Table(table);
}

void LXShowFormat(XToolOutput& output, const XDemoSession& session) {
    output.Section(std::string("Formats of the attribute ") + DemoAttribute);
    XLXComPtr<ILXAttribute> attribute;
    LXExpect(session.CachedType(DemoType)->GetAttribute(LXBstr(DemoAttribute).Get(), attribute.Put()), "GetAttribute");
    XToolTable table({">Format type", "Pattern", ">Width", "Server calls: first time", "second time"});
    for (const auto& [type, expected] : {std::pair(0, S_OK), std::pair(1, S_FALSE)}) {
        XLXComPtr<ILXFormat> format;
        const auto ask = [&, type = type, expected = expected] {
            LXExpect(attribute->GetFormat(type, format.Put()), "GetFormat", expected);
            return format ? LXTextOf(*format, XProperty::Label) : "none (S_FALSE)";
        };
        const XMeasured first = session.Measure(ask);
        const XMeasured second = session.Measure(ask);
        LXExpectThat(second.calls.Total() == 0, "a format was requested twice");
        table.Row({std::to_string(type), ask(), format ? std::to_string(LXNumberOf(*format, XProperty::Length)) : "",
                   first.calls.Text(), std::to_string(second.calls.Total())});
    }
    output.Table(table);
}

// SPDX-License-Identifier: MIT
//
// The queries of a survey about one type.
#include "XSurveyQuestions.h"

XAnswers XSurvey::OfType(const std::string& name, const std::map<std::string, std::string>& bases) {
    m_answers.clear();
    XLXComPtr<ILXType> type;
    if (!IsOffered("GetType")) { return {}; }
    const HRESULT result = Count(1, [&] { return m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put()); });
    if (result == S_FALSE) { return {}; }
    LXExpect(result, "GetType");
    const std::string path = LXPathPart(name);
    Add(path, XElementKind::Type, *type);
    ++m_objects["types"];
    AddPages(path, *type);
    AddGroups(path, *type);
    AddEditors(path, *type);
    const auto base = bases.find(name);
    AddAttributes(name, base != bases.end() ? base->second : "", *type);
    AddRelationsOf(path, name);
    AddDerivation(path, name, bases);
    return std::move(m_answers);
}

void XSurvey::AddPages(const std::string& path, ILXType& type) {
    for (const auto& page :
         All<ILXPage, ILXPageEnum>("GetPageEnum", [&](auto** out) { return type.GetPageEnum(out); })) {
        const LONG number = LXNumberOf(*page, XProperty::PageNumber);
        const std::string at = path + "/page " + std::to_string(number);
        Add(at, XElementKind::Page, *page);
        ++m_objects["pages"];
        AddNames<ILXGroup, ILXGroupEnum>(at + "/groups", "GetPageGroupEnum", XProperty::GroupNumber, [&](auto** out) {
            return type.GetPageGroupEnum(static_cast<int>(number), out);
        });
    }
}

void XSurvey::AddGroups(const std::string& path, ILXType& type) {
    AddNames<ILXGroup, ILXGroupEnum>(path + "/toplevel groups", "GetToplevelGroupEnum", XProperty::GroupNumber,
                                     [&](auto** out) { return type.GetToplevelGroupEnum(out); });
    for (const auto& group :
         All<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); })) {
        const LONG number = LXNumberOf(*group, XProperty::GroupNumber);
        const std::string at = path + "/group " + std::to_string(number);
        Add(at, XElementKind::Group, *group);
        ++m_objects["groups"];
        AddNames<ILXGroup, ILXGroupEnum>(at + "/groups inside", "GetChildGroupEnum", XProperty::GroupNumber,
                                         [&](auto** out) { return group->GetChildGroupEnum(out); });
        AddNames<ILXAttribute, ILXAttributeEnum>(
            at + "/attributes", "GetGroupAttributeEnum", XProperty::AttributeName,
            [&](auto** out) { return type.GetGroupAttributeEnum(static_cast<int>(number), out); });
        XLXComPtr<ILXFormat> format;
        if (Count(1, [&] { return group->GetFormat(format.Put()); }) == S_OK) {
            Add(at + "/format", XElementKind::Format, *format);
            ++m_objects["formats"];
        }
    }
}

void XSurvey::AddEditors(const std::string& path, ILXType& type) {
    for (const auto& editor : All<ILXConfObjEditor, ILXConfObjEditorEnum>(
             "GetConfObjEditorEnum", [&](auto** out) { return type.GetConfObjEditorEnum(out); })) {
        Add(path + "/editor " + LXPathPart(LXTextOf(*editor, XProperty::ProgId)), XElementKind::Editor, *editor);
        ++m_objects["editors"];
    }
    for (const std::string& browser : m_browsers) {
        AddOne<ILXConfObjEditor>(path + "/default editor in " + LXPathPart(browser), "GetDefaultEditor",
                                 XProperty::ProgId,
                                 [&](auto** out) { return type.GetDefaultEditor(LXBstr(browser).Get(), out); });
        AddOne<ILXConfObjEditor>(path + "/default editor for new in " + LXPathPart(browser), "GetDefaultNewEditor",
                                 XProperty::ProgId,
                                 [&](auto** out) { return type.GetDefaultNewEditor(LXBstr(browser).Get(), out); });
    }
}

std::vector<XLXComPtr<ILXAttribute>> XSurvey::AttributesOf(ILXType& type) {
    return All<ILXAttribute, ILXAttributeEnum>("GetDisplayAttributeEnum",
                                               [&](auto** out) { return type.GetDisplayAttributeEnum(0, out); });
}

const std::set<std::string>& XSurvey::AttributeNames(const std::string& type) {
    const auto [known, isNew] = m_attributeNames.try_emplace(type);
    XLXComPtr<ILXType> object;
    if (isNew && m_factory.GetType(LXBstr(type).Get(), nullptr, object.Put()) == S_OK) {
        const auto names = LXTextsOf(AttributesOf(*object), XProperty::AttributeName);
        known->second.insert(names.begin(), names.end());
    }
    return known->second;
}

// The types of a cache share inherited attributes, so each of these objects is read once. The objects of a server
// return all values, including the name, in one call.
std::string XSurvey::AddAttribute(const std::string& path, const XLXComPtr<ILXAttribute>& attribute) {
    if (m_cache == nullptr) {
        std::vector<XJson> values = Values("", XElementKind::Attribute, *attribute);
        std::string name = LXPlain(values.front());
        m_answers[path + "/" + LXPathPart(name)] = {XElementKind::Attribute, std::move(values)};
        return name;
    }
    std::string name = LXTextOf(*attribute, XProperty::AttributeName);
    const std::string at = path + "/" + LXPathPart(name);
    const auto read = m_attributes.find(attribute.Get());
    if (read != m_attributes.end()) {
        m_answers[at] = read->second.answer;
        return name;
    }
    Add(at, XElementKind::Attribute, *attribute);
    if (m_expected != nullptr) { m_attributes.emplace(attribute.Get(), Read{attribute, m_answers[at]}); }
    return name;
}

// The parts of an inherited attribute are queried at the type that defines it.
void XSurvey::AddAttributes(const std::string& name, const std::string& base, ILXType& type) {
    const std::string path = LXPathPart(name);
    const std::set<std::string> inherited = base.empty() ? std::set<std::string>() : AttributeNames(base);
    std::set<std::string> names;
    for (const auto& attribute : AttributesOf(type)) {
        const std::string attributeName = AddAttribute(path, attribute);
        const std::string at = path + "/" + LXPathPart(attributeName);
        names.insert(attributeName);
        if (!inherited.contains(attributeName)) { AddOwnAttribute(at, type, attributeName, *attribute); }
    }
    if (IsOffered("GetDisplayAttributeEnum")) { m_answers[path + "/attributes"] = LXNamesAnswer(names); }
    m_attributeNames[name] = std::move(names);
    for (const auto& [display, mask] : LXDisplays()) {
        if (mask != 0) {
            AddNames<ILXAttribute, ILXAttributeEnum>(
                path + "/shown: " + display, "GetDisplayAttributeEnum", XProperty::AttributeName,
                [&, mask = mask](auto** out) { return type.GetDisplayAttributeEnum(mask, out); });
        }
    }
}

void XSurvey::AddOwnAttribute(const std::string& path, ILXType& owner, const std::string& name,
                              ILXAttribute& attribute) {
    AddOne<ILXAttribute>(path + "/by name", "GetAttribute", XProperty::Label,
                         [&](auto** out) { return owner.GetAttribute(LXBstr(name).Get(), out); });
    ++m_objects["attributes"];
    for (const auto& type : All<ILXAttributeType, ILXAttributeTypeEnum>(
             "GetAttributeTypeEnum", [&](auto** out) { return attribute.GetAttributeTypeEnum(out); })) {
        Add(path + "/type " + LXPathPart(LXTextOf(*type, XProperty::AttributeTypeName)), XElementKind::AttributeType,
            *type);
        ++m_objects["attribute types"];
    }
    AddFormats(path, attribute);
}

void XSurvey::AddRelationsOf(const std::string& path, const std::string& name) {
    const auto namesOf = [this](const std::vector<XLXComPtr<ILXParentChild>>& relations) {
        return Count(2 * relations.size(), [&] {
            std::vector<std::string> names;
            for (const auto& relation : relations) {
                names.push_back(LXPathPart(LXTextOf(*relation, XProperty::ChildName)) + "/" +
                                LXPathPart(LXTextOf(*relation, XProperty::ChildList)));
            }
            return names;
        });
    };
    const XLXComBSTR parent = LXBstr(name);
    const auto relations = All<ILXParentChild, ILXParentChildEnum>(
        "GetParentChildEnum", [&](auto** out) { return m_factory.GetParentChildEnum(parent.Get(), nullptr, out); });
    if (!IsOffered("GetParentChildEnum")) { return; }
    m_answers[path + "/relations"] = LXNamesAnswer(namesOf(relations));
    m_answers[path + "/relations, GetPCEnum2"] =
        m_cache == nullptr
            ? LXNamesAnswer(namesOf(relations))
            : LXNamesAnswer(namesOf(All<ILXParentChild, ILXParentChildEnum>("GetPCEnum2", [&](auto** out) {
                  return m_cache->GetPCEnum2(nullptr, parent.Get(), nullptr, 0, out);
              })));
}

namespace {
/// Whether the bases of a type form a cycle.
bool HasEndlessBases(std::string name, const std::map<std::string, std::string>& bases) {
    for (std::size_t steps = 0; steps <= bases.size(); ++steps) {
        const auto at = bases.find(name);
        if (at == bases.end() || at->second.empty()) { return false; }
        name = at->second;
    }
    return true;
}
} // namespace

void XSurvey::AddDerivation(const std::string& path, const std::string& name,
                            const std::map<std::string, std::string>& bases) {
    if (HasEndlessBases(name, bases)) { return; } // the cache may break the cycle anywhere
    const auto derives = [&bases](std::string type, const std::string& ancestor) {
        for (std::size_t steps = 0; steps <= bases.size(); ++steps) { // bases may form a cycle
            const auto at = bases.find(type);
            if (at == bases.end() || at->second.empty()) { return false; }
            if (at->second == ancestor) { return true; }
            type = at->second;
        }
        return false;
    };
    std::set<std::string> derived;
    std::set<std::string> from = {name};
    if (m_cache != nullptr) {
        for (const std::string& type : Count(1, [&] { return LXDerivedOf(*m_cache, name); })) {
            derived.insert(type);
        }
        from = DerivesFrom(name, bases);
    }
    for (const auto& [other, base] : bases) {
        const bool isBelow = m_cache == nullptr && derives(other, name);
        const bool isAbove = m_cache == nullptr && derives(name, other);
        if (isBelow) { derived.insert(other); }
        if (isAbove) { from.insert(other); }
    }
    m_answers[path + "/derived types"] = LXNamesAnswer(derived);
    m_answers[path + "/derives from"] = LXNamesAnswer(from);
}

std::set<std::string> XSurvey::DerivesFrom(const std::string& name, const std::map<std::string, std::string>& bases) {
    std::vector<XLXComBSTR> texts;
    std::vector<BSTR> names;
    std::vector<const std::string*> asked;
    for (const auto& [other, base] : bases) {
        names.push_back(texts.emplace_back(LXBstr(other)).Get());
        asked.push_back(&other);
    }
    std::vector<LONG> answers(names.size());
    const HRESULT result = Count(names.size(), [&] {
        return m_cache->CheckTypeDerivesFrom(LXBstr(name).Get(), static_cast<LONG>(names.size()), names.data(),
                                             answers.data());
    });
    std::set<std::string> from;
    if (result != S_FALSE) { LXExpect(result, "CheckTypeDerivesFrom"); }
    for (std::size_t i = 0; i < answers.size(); ++i) {
        if (answers[i] != 0) { from.insert(*asked[i]); }
    }
    return from;
}

// SPDX-License-Identifier: MIT
#include "XSurvey.h"

#include "XProgress.h"

#include <objbase.h>

#include <algorithm>

namespace
{
constexpr int BaseTypeObject = 27; // the last value of a type: an object in the cache, empty in a server

XAnswer NamesAnswer(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    return {std::nullopt, std::vector<XJson>(names.begin(), names.end())};
}

XAnswer NamesAnswer(const std::set<std::string>& names)
{
    return {std::nullopt, std::vector<XJson>(names.begin(), names.end())};
}
} // namespace

std::string LXPathPart(const std::string& name)
{
    std::string part;
    for (const char c : name)
    {
        part += c == '/' ? "%2F" : c == '%' ? "%25" : std::string(1, c);
    }
    return part;
}

XSurvey::XSurvey(ILXConfigFactory& factory) : m_factory(factory), m_cache(nullptr) {}

XSurvey::XSurvey(ILXConfigFactory& factory, ILXConfigFactoryCache& cache,
                 std::function<unsigned long long()> calls)
    : m_factory(factory), m_cache(&cache), m_calls(std::move(calls))
{}

template <class Ask>
auto XSurvey::Count(unsigned long long questions, Ask&& ask)
{
    const unsigned long long before = m_calls ? m_calls() : 0;
    auto answer = ask();
    m_questions += questions;
    m_misses += m_calls ? std::min(questions, m_calls() - before) : 0;
    return answer;
}

template <class Element, class Enumerator, class Call>
std::vector<XLXComPtr<Element>> XSurvey::All(const char* what, Call&& call)
{
    return Count(1, [&] { return LXList<Element, Enumerator>(what, call); });
}

template <class Element, class Enumerator, class Call>
XAnswer XSurvey::Names(const char* what, int member, Call&& call)
{
    const auto elements = All<Element, Enumerator>(what, call);
    return NamesAnswer(Count(elements.size(), [&] { return LXTextsOf(elements, member); }));
}

void XSurvey::Add(const std::string& path, XElementKind kind, ILXConfigObject& object)
{
    const XPropertyTable& table = XPropertyTable::Of(kind);
    auto values = Count(m_expected != nullptr ? static_cast<std::size_t>(table.count) : table.rows.size(),
                        [&] { return Values(path, kind, object); });
    if (kind == XElementKind::Type)
    {
        values.resize(BaseTypeObject);
    }
    m_answers[path] = {kind, std::move(values)};
}

std::vector<XJson> XSurvey::Values(const std::string& path, XElementKind kind, ILXConfigObject& object) const
{
    if (m_cache == nullptr)
    {
        return LXValuesOf(object, XPropertyTable::Of(kind).count);
    }
    std::vector<XJson> values(static_cast<std::size_t>(XPropertyTable::Of(kind).count));
    const auto read = [&](std::size_t member) {
        values[member] = LXPropertyOf(object, static_cast<int>(member));
        return !values[member].is_null();
    };
    if (m_expected == nullptr)
    {
        for (const XPropertyRow& row : XPropertyTable::Of(kind).rows)
        {
            read(static_cast<std::size_t>(row.index));
        }
        return values;
    }
    const auto found = m_expected->find(path);
    const std::vector<XJson> expected =
        found != m_expected->end() ? found->second.values : std::vector<XJson>();
    values.resize(std::max(expected.size(), values.size()));
    const auto isExpected = [&](std::size_t member) {
        return member < expected.size() && !expected[member].is_null();
    };
    for (std::size_t member = 0; member < values.size(); ++member)
    {
        if (isExpected(member))
        {
            read(member);
        }
    }
    for (std::size_t member = 0; member < values.size() && (isExpected(member) || read(member)); ++member)
    {}
    return values;
}

void XSurvey::AskEverything(const char* progress)
{
    const std::map<std::string, std::string> bases = BasesOf(TypeNames());
    General(Browsers());
    XProgress bar(progress, bases.size());
    for (const auto& [name, base] : bases)
    {
        OfType(name, bases);
        bar.Step();
    }
}

template <class Owner>
void XSurvey::AddFormats(const std::string& path, Owner& owner)
{
    for (const auto& [formatType, format] : Count(4, [&] { return LXFormatsOf(owner); }))
    {
        Add(path + "/format " + std::to_string(formatType), XElementKind::Format, *format);
        ++m_objects["formats"];
    }
}

std::set<std::string> XSurvey::TypeNames()
{
    std::set<std::string> names;
    for (const auto& [name, node] : LXTypeNodes(m_factory))
    {
        names.insert(name);
        names.insert(node.base);
    }
    for (const auto& relation :
         All<ILXParentChild, ILXParentChildEnum>("GetParentChildEnum", [&](auto** out) {
             return m_factory.GetParentChildEnum(nullptr, nullptr, out);
         }))
    {
        names.insert(LXTextOf(*relation, XProperty::ParentName));
        names.insert(LXTextOf(*relation, XProperty::ChildName));
    }
    for (const std::string& name : std::set<std::string>(names))
    {
        const auto derived = m_cache != nullptr ? LXDerivedOf(*m_cache, name) : std::vector<std::string>();
        names.insert(derived.begin(), derived.end());
    }
    names.erase("");
    return names;
}

std::map<std::string, std::string> XSurvey::BasesOf(const std::set<std::string>& names)
{
    std::map<std::string, std::string> bases;
    for (const std::string& name : names)
    {
        XLXComPtr<ILXType> type;
        if (m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put()) == S_OK)
        {
            bases.emplace(name, LXTextOf(*type, XProperty::BaseTypeName));
        }
    }
    return bases;
}

std::vector<std::string> XSurvey::Browsers()
{
    return LXTextsOf(All<ILXBrowserId, ILXBrowserIdEnum>(
                         "GetBrowserIdEnum", [&](auto** out) { return m_factory.GetBrowserIdEnum(out); }),
                     XProperty::BrowserIdName);
}

XAnswers XSurvey::General(const std::vector<std::string>& browsers)
{
    m_answers.clear();
    m_browsers = browsers;
    m_answers["types"] = Names<ILXType, ILXTypeEnum>(
        "GetTypeEnum", XProperty::TypeName, [&](auto** out) { return m_factory.GetTypeEnum(nullptr, out); });
    m_answers["searchable types"] =
        Names<ILXType, ILXTypeEnum>("GetSearchableTypeEnum", XProperty::TypeName,
                                    [&](auto** out) { return m_factory.GetSearchableTypeEnum(out); });
    XLXComBSTR version;
    LXExpect(Count(1, [&] { return m_factory.GetVersion(version.Put()); }), "GetVersion");
    m_answers["version"] = NamesAnswer(std::vector{LXToUtf8(version.View())});

    for (const auto& browser : All<ILXBrowserId, ILXBrowserIdEnum>(
             "GetBrowserIdEnum", [&](auto** out) { return m_factory.GetBrowserIdEnum(out); }))
    {
        Add("browser " + LXPathPart(LXTextOf(*browser, XProperty::BrowserIdName)), XElementKind::BrowserId,
            *browser);
        ++m_objects["browser ids"];
    }
    AddSpecs();
    AddRelations();
    return std::move(m_answers);
}

void XSurvey::AddSpecs()
{
    for (const auto& spec : All<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
             "GetAllGlobalAttributeFormatSpecs",
             [&](auto** out) { return m_factory.GetAllGlobalAttributeFormatSpecs(out); }))
    {
        const std::string path = "format spec " + LXPathPart(LXTextOf(*spec, XProperty::AttributeName));
        Add(path, XElementKind::GlobalSpec, *spec);
        AddFormats(path, *spec);
        ++m_objects["format specs"];
    }
}

void XSurvey::AddRelations()
{
    for (const auto& relation :
         All<ILXParentChild, ILXParentChildEnum>("GetParentChildEnum", [&](auto** out) {
             return m_factory.GetParentChildEnum(nullptr, nullptr, out);
         }))
    {
        std::string path = "relation";
        for (const int member : {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList})
        {
            path += (member == XProperty::ParentName ? " " : "/") + LXPathPart(LXTextOf(*relation, member));
        }
        Add(path, XElementKind::Relation, *relation);
        ++m_objects["relations"];
        for (const auto& info : All<ILXPCInfo, ILXPCInfoEnum>(
                 "GetPCInfoEnum", [&](auto** out) { return relation->GetPCInfoEnum(out); }))
        {
            Add(path + "/browser " + LXPathPart(LXTextOf(*info, XProperty::PCInfoBrowser)),
                XElementKind::PCInfo, *info);
            ++m_objects["PC infos"];
        }
        for (const std::string& browser : m_browsers)
        {
            XLXComPtr<ILXPCInfo> info;
            const HRESULT result =
                Count(1, [&] { return relation->GetPCInfo(LXBstr(browser).Get(), info.Put()); });
            m_answers[path + "/GetPCInfo " + LXPathPart(browser)] = NamesAnswer(
                std::vector{info ? LXTextOf(*info, XProperty::PCInfoLabel) : LXResultName(result)});
        }
    }
}

XAnswers XSurvey::OfType(const std::string& name, const std::map<std::string, std::string>& bases)
{
    m_answers.clear();
    XLXComPtr<ILXType> type;
    const HRESULT result =
        Count(1, [&] { return m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put()); });
    if (result == S_FALSE)
    {
        return {};
    }
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

void XSurvey::AddPages(const std::string& path, ILXType& type)
{
    for (const auto& page :
         All<ILXPage, ILXPageEnum>("GetPageEnum", [&](auto** out) { return type.GetPageEnum(out); }))
    {
        const LONG number = LXNumberOf(*page, XProperty::PageNumber);
        const std::string at = path + "/page " + std::to_string(number);
        Add(at, XElementKind::Page, *page);
        ++m_objects["pages"];
        m_answers[at + "/groups"] =
            Names<ILXGroup, ILXGroupEnum>("GetPageGroupEnum", XProperty::GroupNumber, [&](auto** out) {
                return type.GetPageGroupEnum(static_cast<int>(number), out);
            });
    }
}

void XSurvey::AddGroups(const std::string& path, ILXType& type)
{
    m_answers[path + "/toplevel groups"] =
        Names<ILXGroup, ILXGroupEnum>("GetToplevelGroupEnum", XProperty::GroupNumber,
                                      [&](auto** out) { return type.GetToplevelGroupEnum(out); });
    for (const auto& group :
         All<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); }))
    {
        const LONG number = LXNumberOf(*group, XProperty::GroupNumber);
        const std::string at = path + "/group " + std::to_string(number);
        Add(at, XElementKind::Group, *group);
        ++m_objects["groups"];
        m_answers[at + "/groups inside"] =
            Names<ILXGroup, ILXGroupEnum>("GetChildGroupEnum", XProperty::GroupNumber,
                                          [&](auto** out) { return group->GetChildGroupEnum(out); });
        m_answers[at + "/attributes"] = Names<ILXAttribute, ILXAttributeEnum>(
            "GetGroupAttributeEnum", XProperty::AttributeName,
            [&](auto** out) { return type.GetGroupAttributeEnum(static_cast<int>(number), out); });
        XLXComPtr<ILXFormat> format;
        if (Count(1, [&] { return group->GetFormat(format.Put()); }) == S_OK)
        {
            Add(at + "/format", XElementKind::Format, *format);
            ++m_objects["formats"];
        }
    }
}

void XSurvey::AddEditors(const std::string& path, ILXType& type)
{
    for (const auto& editor : All<ILXConfObjEditor, ILXConfObjEditorEnum>(
             "GetConfObjEditorEnum", [&](auto** out) { return type.GetConfObjEditorEnum(out); }))
    {
        Add(path + "/editor " + LXPathPart(LXTextOf(*editor, XProperty::ProgId)), XElementKind::Editor,
            *editor);
        ++m_objects["editors"];
    }
    for (const auto& [what, ask] : {std::pair("/default editor in ", &ILXType::GetDefaultEditor),
                                    std::pair("/default editor for new in ", &ILXType::GetDefaultNewEditor)})
    {
        for (const std::string& browser : m_browsers)
        {
            XLXComPtr<ILXConfObjEditor> editor;
            const HRESULT result =
                Count(1, [&, ask = ask] { return (type.*ask)(LXBstr(browser).Get(), editor.Put()); });
            m_answers[path + what + LXPathPart(browser)] = NamesAnswer(
                std::vector{editor ? LXTextOf(*editor, XProperty::ProgId) : LXResultName(result)});
        }
    }
}

const std::set<std::string>& XSurvey::AttributeNames(const std::string& type)
{
    const auto [known, isNew] = m_attributeNames.try_emplace(type);
    XLXComPtr<ILXType> object;
    if (isNew && m_factory.GetType(LXBstr(type).Get(), nullptr, object.Put()) == S_OK)
    {
        const auto names = LXTextsOf(LXAttributesOf(*object, 0), XProperty::AttributeName);
        known->second.insert(names.begin(), names.end());
    }
    return known->second;
}

// The types of a cache share the attributes that they inherit: each of these objects is read once. A server's
// objects give all values in one call, the name among them.
std::string XSurvey::AddAttribute(const std::string& path, const XLXComPtr<ILXAttribute>& attribute)
{
    if (m_cache == nullptr)
    {
        std::vector<XJson> values = Values("", XElementKind::Attribute, *attribute);
        std::string name = LXPlain(values.front());
        m_answers[path + "/" + LXPathPart(name)] = {XElementKind::Attribute, std::move(values)};
        return name;
    }
    std::string name = LXTextOf(*attribute, XProperty::AttributeName);
    const std::string at = path + "/" + LXPathPart(name);
    const auto read = m_attributes.find(attribute.Get());
    if (read != m_attributes.end())
    {
        m_answers[at] = read->second.answer;
        return name;
    }
    Add(at, XElementKind::Attribute, *attribute);
    if (m_expected != nullptr)
    {
        m_attributes.emplace(attribute.Get(), Read{attribute, m_answers[at]});
    }
    return name;
}

// What belongs to an inherited attribute is asked for where the attribute comes from.
void XSurvey::AddAttributes(const std::string& name, const std::string& base, ILXType& type)
{
    const std::string path = LXPathPart(name);
    const std::set<std::string> inherited = base.empty() ? std::set<std::string>() : AttributeNames(base);
    std::set<std::string> names;
    for (const auto& attribute : Count(1, [&] { return LXAttributesOf(type, 0); }))
    {
        const std::string attributeName = AddAttribute(path, attribute);
        const std::string at = path + "/" + LXPathPart(attributeName);
        names.insert(attributeName);
        if (!inherited.contains(attributeName))
        {
            AddOwnAttribute(at, type, attributeName, *attribute);
        }
    }
    m_answers[path + "/attributes"] = NamesAnswer(names);
    m_attributeNames[name] = std::move(names);
    for (const auto& [display, mask] : LXDisplays())
    {
        if (mask != 0)
        {
            m_answers[path + "/shown: " + display] = Names<ILXAttribute, ILXAttributeEnum>(
                "GetDisplayAttributeEnum", XProperty::AttributeName,
                [&, mask = mask](auto** out) { return type.GetDisplayAttributeEnum(mask, out); });
        }
    }
}

void XSurvey::AddOwnAttribute(const std::string& path, ILXType& owner, const std::string& name,
                              ILXAttribute& attribute)
{
    XLXComPtr<ILXAttribute> byName;
    const HRESULT result = Count(1, [&] { return owner.GetAttribute(LXBstr(name).Get(), byName.Put()); });
    m_answers[path + "/by name"] =
        NamesAnswer(std::vector{byName ? LXTextOf(*byName, XProperty::Label) : LXResultName(result)});
    ++m_objects["attributes"];
    for (const auto& type : All<ILXAttributeType, ILXAttributeTypeEnum>(
             "GetAttributeTypeEnum", [&](auto** out) { return attribute.GetAttributeTypeEnum(out); }))
    {
        Add(path + "/type " + LXPathPart(LXTextOf(*type, XProperty::AttributeTypeName)),
            XElementKind::AttributeType, *type);
        ++m_objects["attribute types"];
    }
    AddFormats(path, attribute);
}

void XSurvey::AddRelationsOf(const std::string& path, const std::string& name)
{
    const auto namesOf = [this](const std::vector<XLXComPtr<ILXParentChild>>& relations) {
        return Count(2 * relations.size(), [&] {
            std::vector<std::string> names;
            for (const auto& relation : relations)
            {
                names.push_back(LXPathPart(LXTextOf(*relation, XProperty::ChildName)) + "/" +
                                LXPathPart(LXTextOf(*relation, XProperty::ChildList)));
            }
            return names;
        });
    };
    const XLXComBSTR parent = LXBstr(name);
    const auto relations = All<ILXParentChild, ILXParentChildEnum>("GetParentChildEnum", [&](auto** out) {
        return m_factory.GetParentChildEnum(parent.Get(), nullptr, out);
    });
    m_answers[path + "/relations"] = NamesAnswer(namesOf(relations));
    m_answers[path + "/relations, GetPCEnum2"] =
        m_cache == nullptr
            ? NamesAnswer(namesOf(relations))
            : NamesAnswer(namesOf(All<ILXParentChild, ILXParentChildEnum>("GetPCEnum2", [&](auto** out) {
                  return m_cache->GetPCEnum2(nullptr, parent.Get(), nullptr, 0, out);
              })));
}

void XSurvey::AddDerivation(const std::string& path, const std::string& name,
                            const std::map<std::string, std::string>& bases)
{
    const auto derives = [&bases](std::string type, const std::string& ancestor) {
        for (std::size_t steps = 0; steps <= bases.size(); ++steps) // bases may go round in a circle
        {
            const auto at = bases.find(type);
            if (at == bases.end() || at->second.empty())
            {
                return false;
            }
            if (at->second == ancestor)
            {
                return true;
            }
            type = at->second;
        }
        return false;
    };
    std::set<std::string> derived;
    std::set<std::string> from = {name};
    if (m_cache != nullptr)
    {
        for (const std::string& type : Count(1, [&] { return LXDerivedOf(*m_cache, name); }))
        {
            derived.insert(type);
        }
        from = DerivesFrom(name, bases);
    }
    for (const auto& [other, base] : bases)
    {
        if (m_cache == nullptr && derives(other, name))
        {
            derived.insert(other);
        }
        if (m_cache == nullptr && derives(name, other))
        {
            from.insert(other);
        }
    }
    m_answers[path + "/derived types"] = NamesAnswer(derived);
    m_answers[path + "/derives from"] = NamesAnswer(from);
}

std::set<std::string> XSurvey::DerivesFrom(const std::string& name,
                                           const std::map<std::string, std::string>& bases)
{
    std::vector<XLXComBSTR> texts;
    std::vector<BSTR> names;
    std::vector<const std::string*> asked;
    for (const auto& [other, base] : bases)
    {
        names.push_back(texts.emplace_back(LXBstr(other)).Get());
        asked.push_back(&other);
    }
    std::vector<LONG> answers(names.size());
    const HRESULT result = Count(names.size(), [&] {
        return m_cache->CheckTypeDerivesFrom(LXBstr(name).Get(), static_cast<LONG>(names.size()),
                                             names.data(), answers.data());
    });
    std::set<std::string> from;
    if (result != S_FALSE)
    {
        LXExpect(result, "CheckTypeDerivesFrom");
    }
    for (std::size_t i = 0; i < answers.size(); ++i)
    {
        if (answers[i] != 0)
        {
            from.insert(*asked[i]);
        }
    }
    return from;
}

// SPDX-License-Identifier: MIT
#include "XProgress.h"
#include "XSurveyQuestions.h"

#include <objbase.h>

#include <algorithm>

namespace {
constexpr int BaseTypeObject = XProperty::BaseType; // the last value: an object in the cache, empty in the server
} // namespace

std::string LXPathPart(const std::string& name) {
    std::string part;
    for (const char c : name) {
        part += c == '/' ? "%2F" : c == '%' ? "%25" : std::string(1, c);
    }
    return part;
}

XSurvey::XSurvey(ILXConfigFactory& factory) : m_factory(factory), m_cache(nullptr) {}

XSurvey::XSurvey(ILXConfigFactory& factory, ILXConfigFactoryCache& cache, std::function<unsigned long long()> calls)
    : m_factory(factory), m_cache(&cache), m_calls(std::move(calls)) {}

bool XSurvey::IsOffered(const char* what) const {
    return !m_notOffered.contains(what) && (m_leftOut == nullptr || !m_leftOut->contains(what));
}

// If the server implements something that the cache does not, that is a difference.
bool XSurvey::IsOffered(const char* what, HRESULT result) {
    if (result == E_NOTIMPL && m_leftOut == nullptr) { m_notOffered.insert(what); }
    return IsOffered(what);
}

void XSurvey::Add(const std::string& path, XElementKind kind, ILXConfigObject& object) {
    const auto named = XPropertyNames::The().Indexes(kind).size();
    auto values = Count(m_expected != nullptr ? static_cast<std::size_t>(XPropertyTable::Of(kind).count) : named,
                        [&] { return Values(path, kind, object); });
    if (kind == XElementKind::Type) { values.resize(BaseTypeObject); }
    m_answers[path] = {kind, std::move(values)};
}

std::vector<XJson> XSurvey::Values(const std::string& path, XElementKind kind, ILXConfigObject& object) const {
    if (m_cache == nullptr) { return LXValuesOf(object, XPropertyTable::Of(kind).count); }
    std::vector<XJson> values(static_cast<std::size_t>(XPropertyTable::Of(kind).count));
    const auto read = [&](std::size_t member) {
        values[member] = LXPropertyOf(object, static_cast<int>(member));
        return !values[member].is_null();
    };
    if (m_expected == nullptr) {
        for (const int index : XPropertyNames::The().Indexes(kind)) {
            if (static_cast<std::size_t>(index) < values.size()) { read(static_cast<std::size_t>(index)); }
        }
        return values;
    }
    const auto found = m_expected->find(path);
    const std::vector<XJson> expected = found != m_expected->end() ? found->second.values : std::vector<XJson>();
    values.resize(std::max(expected.size(), values.size()));
    const auto isExpected = [&](std::size_t member) { return member < expected.size() && !expected[member].is_null(); };
    for (std::size_t member = 0; member < values.size(); ++member) {
        if (isExpected(member)) { read(member); }
    }
    for (std::size_t member = 0; member < values.size() && (isExpected(member) || read(member)); ++member) {}
    return values;
}

void XSurvey::AskEverything(const char* progress) {
    const std::map<std::string, std::string> bases = BasesOf(TypeNames());
    General(Browsers());
    XProgress bar(progress, bases.size());
    for (const auto& [name, base] : bases) {
        OfType(name, bases);
        bar.Step();
    }
}

std::set<std::string> XSurvey::TypeNames() {
    std::set<std::string> names;
    for (const auto& [name, node] : LXTypeNodes(m_factory)) {
        names.insert(name);
        names.insert(node.base);
    }
    for (const auto& relation : All<ILXParentChild, ILXParentChildEnum>(
             "GetParentChildEnum", [&](auto** out) { return m_factory.GetParentChildEnum(nullptr, nullptr, out); })) {
        names.insert(LXTextOf(*relation, XProperty::ParentName));
        names.insert(LXTextOf(*relation, XProperty::ChildName));
    }
    for (const std::string& name : std::set<std::string>(names)) {
        const auto derived = m_cache != nullptr ? LXDerivedOf(*m_cache, name) : std::vector<std::string>();
        names.insert(derived.begin(), derived.end());
    }
    names.erase("");
    return names;
}

std::map<std::string, std::string> XSurvey::BasesOf(const std::set<std::string>& names) {
    std::map<std::string, std::string> bases;
    for (const std::string& name : names) {
        XLXComPtr<ILXType> type;
        const HRESULT result = m_factory.GetType(LXBstr(name).Get(), nullptr, type.Put());
        if (IsOffered("GetType", result) && result == S_OK) {
            bases.emplace(name, LXTextOf(*type, XProperty::BaseTypeName));
        }
    }
    return bases;
}

std::vector<std::string> XSurvey::Browsers() {
    return LXTextsOf(All<ILXBrowserId, ILXBrowserIdEnum>("GetBrowserIdEnum",
                                                         [&](auto** out) { return m_factory.GetBrowserIdEnum(out); }),
                     XProperty::BrowserIdName);
}

XAnswers XSurvey::General(const std::vector<std::string>& browsers) {
    m_answers.clear();
    m_browsers = browsers;
    AddNames<ILXType, ILXTypeEnum>("types", "GetTypeEnum", XProperty::TypeName,
                                   [&](auto** out) { return m_factory.GetTypeEnum(nullptr, out); });
    AddNames<ILXType, ILXTypeEnum>("searchable types", "GetSearchableTypeEnum", XProperty::TypeName,
                                   [&](auto** out) { return m_factory.GetSearchableTypeEnum(out); });
    XLXComBSTR version;
    const HRESULT result = Count(1, [&] { return m_factory.GetVersion(version.Put()); });
    if (IsOffered("GetVersion", result)) {
        LXExpect(result, "GetVersion");
        m_answers["version"] = LXNamesAnswer(std::vector{LXToUtf8(version.View())});
    }

    for (const auto& browser : All<ILXBrowserId, ILXBrowserIdEnum>(
             "GetBrowserIdEnum", [&](auto** out) { return m_factory.GetBrowserIdEnum(out); })) {
        Add("browser " + LXPathPart(LXTextOf(*browser, XProperty::BrowserIdName)), XElementKind::BrowserId, *browser);
        ++m_objects["browser ids"];
    }
    AddSpecs();
    AddRelations();
    return std::move(m_answers);
}

void XSurvey::AddSpecs() {
    for (const auto& spec : All<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
             "GetAllGlobalAttributeFormatSpecs",
             [&](auto** out) { return m_factory.GetAllGlobalAttributeFormatSpecs(out); })) {
        const std::string path = "format spec " + LXPathPart(LXTextOf(*spec, XProperty::AttributeName));
        Add(path, XElementKind::GlobalSpec, *spec);
        AddFormats(path, *spec);
        ++m_objects["format specs"];
    }
}

void XSurvey::AddRelations() {
    for (const auto& relation : All<ILXParentChild, ILXParentChildEnum>(
             "GetParentChildEnum", [&](auto** out) { return m_factory.GetParentChildEnum(nullptr, nullptr, out); })) {
        std::string path = "relation";
        for (const int member : {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList}) {
            path += (member == XProperty::ParentName ? " " : "/") + LXPathPart(LXTextOf(*relation, member));
        }
        Add(path, XElementKind::Relation, *relation);
        ++m_objects["relations"];
        for (const auto& info :
             All<ILXPCInfo, ILXPCInfoEnum>("GetPCInfoEnum", [&](auto** out) { return relation->GetPCInfoEnum(out); })) {
            Add(path + "/browser " + LXPathPart(LXTextOf(*info, XProperty::PCInfoBrowser)), XElementKind::PCInfo,
                *info);
            ++m_objects["PC infos"];
        }
        for (const std::string& browser : m_browsers) {
            AddOne<ILXPCInfo>(path + "/GetPCInfo " + LXPathPart(browser), "GetPCInfo", XProperty::PCInfoLabel,
                              [&](auto** out) { return relation->GetPCInfo(LXBstr(browser).Get(), out); });
        }
    }
}

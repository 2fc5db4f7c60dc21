// SPDX-License-Identifier: MIT
//
// Checks the configuration itself for references to missing objects, unused objects, and common pitfalls.
#include "XCfcObjects.h"
#include "XCommands.h"
#include "XProgress.h"
#include "XSuggestion.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace {
constexpr std::size_t ManyAttributes = 500; // of a type, including inherited ones
constexpr std::size_t ManyChoices = 200;    // attribute types of an attribute

/// The findings. Each has a stable id for scripts, a severity and the object that it concerns.
class Findings {
public:
    void Error(const char* id, const std::string& object, const std::string& what) { Add("error", id, object, what); }
    void Warning(const char* id, const std::string& object, const std::string& what) {
        Add("warning", id, object, what);
    }
    void Note(const char* id, const std::string& object, const std::string& what) { Add("note", id, object, what); }

    /// Checks for names that people cannot distinguish, or that affect a terminal.
    /// @param others  names in the same scope that were already checked
    void Names(const std::string& where, const std::vector<std::string>& names,
               const std::set<std::string>& others = {}) {
        std::map<std::string, std::string> known;
        for (const std::string& other : others) {
            known.emplace(Lower(other), other);
        }
        for (const std::string& name : names) {
            if (LXShown(name) != name) { Warning("control-characters", where + name, "has control characters"); }
            const auto [same, isNew] = known.emplace(Lower(name), name);
            if (!isNew && same->second != name) {
                Warning("case-only", where + name, "differs from \"" + same->second + "\" only in case");
            }
        }
    }

    int Answer(XRun& run, std::size_t types) const {
        std::map<std::string, std::size_t> counts = {{"error", 0}, {"warning", 0}, {"note", 0}};
        for (const XJson& row : m_rows) {
            ++counts[row["severity"].get<std::string>()];
        }
        run.Answer({{"types", types},
                    {"errors", counts["error"]},
                    {"warnings", counts["warning"]},
                    {"notes", counts["note"]},
                    {"findings", m_rows}});
        return counts["error"] + counts["warning"] > 0 ? ExitDifferences : ExitOk;
    }

private:
    static std::string Lower(std::string name) {
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return name;
    }
    void Add(const char* severity, const char* id, const std::string& object, const std::string& what) {
        m_rows.push_back({{"severity", severity}, {"id", id}, {"object", object}, {"finding", what}});
    }

    XJson m_rows = XJson::array();
};

class Doctor {
public:
    explicit Doctor(const XCfcSession& session) : m_session(session), m_types(LXTypeNodes(session.Cached())) {}

    int Run(XRun& run) {
        LookAtBases();
        LookAtBrowsersAndSpecs();
        LookAtRelations();
        XProgress progress("Looking", m_types.size());
        for (const auto& [name, node] : m_types) {
            LookAtType(name);
            progress.Step();
        }
        return m_findings.Answer(run, m_types.size());
    }

private:
    void LookAtBases() {
        for (const auto& circle : LXCirclesOf(m_types)) {
            m_findings.Error("bases-in-a-circle", circle.front(), LXJoined(circle, " -> ") + " -> " + circle.front());
        }
        std::vector<std::string> names;
        for (const auto& [name, node] : m_types) {
            names.push_back(name);
            if (!node.base.empty() && !m_types.contains(node.base)) {
                m_findings.Error("missing-base", name, "there is no type \"" + node.base + "\"");
            }
        }
        m_findings.Names("", names);
    }

    void LookAtBrowsersAndSpecs() {
        const auto browsers =
            LXTextsOf(LXOffered<ILXBrowserId, ILXBrowserIdEnum>(
                          "GetBrowserIdEnum", [&](auto** out) { return m_session.Cached().GetBrowserIdEnum(out); }),
                      XProperty::BrowserIdName);
        for (const std::string& browser : browsers) {
            m_browsers.insert(LXFolded(browser));
        }
        m_findings.Names("browser ", browsers);
        for (const auto& spec : LXOffered<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
                 "GetAllGlobalAttributeFormatSpecs",
                 [&](auto** out) { return m_session.Cached().GetAllGlobalAttributeFormatSpecs(out); })) {
            LookAtFormats("spec " + LXTextOf(*spec, XProperty::SpecId), *spec);
        }
    }

    void LookAtRelations() {
        for (const auto& relation :
             LXOffered<ILXParentChild, ILXParentChildEnum>("GetParentChildEnum", [&](auto** out) {
                 return m_session.Cached().GetParentChildEnum(nullptr, nullptr, out);
             })) {
            const std::string parent = LXTextOf(*relation, XProperty::ParentName);
            const std::string child = LXTextOf(*relation, XProperty::ChildName);
            const std::string object =
                "relation " + parent + "/" + child + "/" + LXTextOf(*relation, XProperty::ChildList);
            for (const std::string& end : {parent, child}) {
                if (!m_types.contains(end)) {
                    m_findings.Error("unknown-type", object, "there is no type \"" + end + "\"");
                }
            }
            for (const auto& info : LXOffered<ILXPCInfo, ILXPCInfoEnum>(
                     "GetPCInfoEnum", [&](auto** out) { return relation->GetPCInfoEnum(out); })) {
                NeedBrowser(object, LXTextOf(*info, XProperty::PCInfoBrowser));
            }
        }
    }

    void LookAtType(const std::string& name) {
        const auto type = m_session.Type(name);
        const auto attributes = LXAttributesOf(*type, 0);
        const auto base = m_types.find(m_types.at(name).base);
        const auto inherited = base != m_types.end() ? NamesOf(base->first) : std::set<std::string>();
        for (const std::string& attribute : OwnAttributes(name)) {
            if (inherited.contains(attribute)) {
                m_findings.Warning("hidden-attribute", name + "/" + attribute, "a base type's attribute hides it");
            }
        }
        if (attributes.size() > ManyAttributes) {
            m_findings.Note("large", name, std::to_string(attributes.size()) + " attributes");
        }
        std::vector<std::string> names;
        for (const auto& attribute : attributes) {
            const std::string attributeName = LXTextOf(*attribute, XProperty::AttributeName);
            if (inherited.contains(attributeName)) { continue; } // checked at the type that defines it
            names.push_back(attributeName);
            LookAtAttribute(name + "/" + attributeName, *attribute);
        }
        m_findings.Names(name + "/", names, inherited);
        LookAtGroups(name, *type, attributes, inherited);
        for (const auto& editor : LXOffered<ILXConfObjEditor, ILXConfObjEditorEnum>(
                 "GetConfObjEditorEnum", [&](auto** out) { return type->GetConfObjEditorEnum(out); })) {
            NeedBrowser(name + "/editor " + LXTextOf(*editor, XProperty::ProgId),
                        LXTextOf(*editor, XProperty::EditorBrowserId));
        }
    }

    void LookAtAttribute(const std::string& object, ILXAttribute& attribute) {
        LookAtFormats(object, attribute);
        const auto choices =
            LXTextsOf(LXOffered<ILXAttributeType, ILXAttributeTypeEnum>(
                          "GetAttributeTypeEnum", [&](auto** out) { return attribute.GetAttributeTypeEnum(out); }),
                      XProperty::AttributeTypeName);
        m_findings.Names(object + "/", choices);
        if (choices.size() > ManyChoices) {
            m_findings.Note("large", object, std::to_string(choices.size()) + " attribute types");
        }
    }

    void LookAtGroups(const std::string& name, ILXType& type, const std::vector<XLXComPtr<ILXAttribute>>& attributes,
                      const std::set<std::string>& inherited) {
        std::set<LONG> pages, groups, usedPages, usedGroups;
        for (const auto& page :
             LXOffered<ILXPage, ILXPageEnum>("GetPageEnum", [&](auto** out) { return type.GetPageEnum(out); })) {
            pages.insert(LXNumberOf(*page, XProperty::PageNumber));
        }
        const auto all =
            LXOffered<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type.GetGroupEnum(out); });
        for (const auto& group : all) {
            groups.insert(LXNumberOf(*group, XProperty::GroupNumber));
        }
        for (const auto& group : all) {
            const std::string object = name + "/group " + std::to_string(LXNumberOf(*group, XProperty::GroupNumber));
            Need("missing-page", object, "page", LXNumberOf(*group, XProperty::GroupPage), pages, usedPages);
            Need("missing-group", object, "group", LXNumberOf(*group, XProperty::ParentGroup), groups, usedGroups);
        }
        for (const auto& attribute : attributes) {
            const std::string attributeName = LXTextOf(*attribute, XProperty::AttributeName);
            const LONG number = LXNumberOf(*attribute, XProperty::AttributeGroup);
            usedGroups.insert(number);
            if (!inherited.contains(attributeName)) {
                Need("missing-group", name + "/" + attributeName, "group", number, groups, usedGroups);
            }
        }
        Unused("unused-page", name + "/page ", pages, usedPages);
        Unused("unused-group", name + "/group ", groups, usedGroups);
    }

    /// Checks a reference by number; 0 is no reference.
    void Need(const char* id, const std::string& object, const char* what, LONG number, const std::set<LONG>& known,
              std::set<LONG>& used) {
        used.insert(number);
        if (number != 0 && !known.contains(number)) {
            m_findings.Warning(id, object, std::string("its type has no ") + what + " " + std::to_string(number));
        }
    }

    void Unused(const char* id, const std::string& where, const std::set<LONG>& known, const std::set<LONG>& used) {
        for (const LONG number : known) {
            if (!used.contains(number)) { m_findings.Note(id, where + std::to_string(number), "nothing is in it"); }
        }
    }

    void NeedBrowser(const std::string& object, const std::string& browser) {
        if (!browser.empty() && !m_browsers.empty() && !m_browsers.contains(LXFolded(browser))) {
            m_findings.Warning("unknown-browser", object, "there is no browser \"" + browser + "\"");
        }
    }

    template <class Owner> void LookAtFormats(const std::string& object, Owner& owner) {
        for (const auto& [formatType, format] : LXFormatsOf(owner)) {
            if (LXTextOf(*format, XProperty::FormatPattern).empty()) {
                m_findings.Warning("no-pattern", object + "/format " + std::to_string(formatType),
                                   "the format has no pattern");
            }
        }
    }

    /// The attributes that the server's type lists as its own, including those that a base's attributes hide. The cache
    /// lists inherited ones, too, but not the hidden ones.
    std::vector<std::string> OwnAttributes(const std::string& name) const {
        XLXComPtr<ILXType> type;
        if (m_session.Direct().GetType(LXBstr(name).Get(), nullptr, type.Put()) != S_OK) { return {}; }
        return LXTextsOf(LXOffered<ILXAttribute, ILXAttributeEnum>(
                             "GetAttributeEnum", [&](auto** out) { return type->GetAttributeEnum(out); }),
                         XProperty::AttributeName);
    }

    std::set<std::string> NamesOf(const std::string& type) const {
        const auto names = LXTextsOf(LXAttributesOf(*m_session.Type(type), 0), XProperty::AttributeName);
        return {names.begin(), names.end()};
    }

    const XCfcSession& m_session;
    const XTypeNodes m_types;
    std::set<std::string> m_browsers;
    Findings m_findings;
};

class DoctorCommand {
public:
    void Declare(CLI::App&) {}
    int Run(XRun& run) const { return Doctor(run.Session()).Run(run); }
};
} // namespace

void LXAddDoctorCommand(XCommands& commands) {
    commands.Add<DoctorCommand>("doctor", "Faults, unused parts and excessive sizes in the configuration");
}

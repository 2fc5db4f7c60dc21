// SPDX-License-Identifier: MIT
//
// Relations, browsers and formats.
#include "XCfcObjects.h"
#include "XCommands.h"

#include <algorithm>

namespace {
const std::map<std::string, LONG>& Filters() {
    static const std::map<std::string, LONG> filters = {{"new", LXPCF_NEWONLY},
                                                        {"plan", LXPCF_WITHPLANTYPES},
                                                        {"ppr", LXPCF_PPRONLY},
                                                        {"no-ppr", LXPCF_NOPPR},
                                                        {"no-internal", LXPCF_NOSYSTEMINTERNAL}};
    return filters;
}

XJson RelationRow(ILXParentChild& relation) {
    XJson row = LXSomeOf(XElementKind::Relation, relation,
                         {XProperty::ParentName, XProperty::ChildName, XProperty::ChildList, XProperty::NameShort,
                          XProperty::PPRRelationType, XProperty::SystemInternal});
    XJson& browsers = row["browsers"] = XJson::array();
    XJson& isNew = row["new"] = XJson::array();
    for (const auto& info :
         LXList<ILXPCInfo, ILXPCInfoEnum>("GetPCInfoEnum", [&](auto** out) { return relation.GetPCInfoEnum(out); })) {
        const std::string browser = LXTextOf(*info, XProperty::PCInfoBrowser);
        (LXNumberOf(*info, XProperty::PCInfoNew) != 0 ? isNew : browsers).push_back(browser);
    }
    return row;
}

class RelationsCommand {
public:
    void Declare(CLI::App& app) {
        std::vector<std::string> names;
        for (const auto& [name, bit] : Filters()) {
            names.push_back(name);
        }
        app.add_option("PARENT", m_parent, "The parent's type")->required();
        app.add_option("CHILD", m_child, "Only those to this type");
        app.add_option("--browser", m_browser, "Only those that this browser shows");
        app.add_option("--filter", m_filters, "Any of: " + LXJoined(names, ", "))->check(CLI::IsMember(names));
        app.add_flag("--inherited", m_inherited, "Include those of the base types");
    }
    int Run(XRun& run) const {
        XCfcSession& session = run.Session();
        session.Type(m_parent);
        if (!m_child.empty()) { session.Type(m_child); }
        session.NeedBrowser(m_browser);
        LONG filter = 0;
        for (const std::string& name : m_filters) {
            filter |= Filters().at(name);
        }
        LXExpectThat((filter & LXPCF_PPRONLY) == 0 || (filter & LXPCF_NOPPR) == 0,
                     "the filters ppr and no-ppr exclude each other");
        const auto list = m_inherited ? &ILXConfigFactoryCache::GetPCEnumAll : &ILXConfigFactoryCache::GetPCEnum2;
        XJson rows = XJson::array();
        for (const auto& relation : LXList<ILXParentChild, ILXParentChildEnum>("GetPCEnum", [&](auto** out) {
                 return (session.Cache().*list)(nullptr, LXBstr(m_parent).Get(), LXBstr(m_browser).Get(), filter, out);
             })) {
            if (m_child.empty() || LXTextOf(*relation, XProperty::ChildName) == m_child) {
                rows.push_back(RelationRow(*relation));
            }
        }
        XJson answer = {{"parent", m_parent}, {"count", rows.size()}};
        answer["relations"] = std::move(rows);
        return run.Answer(answer);
    }

private:
    std::string m_parent;
    std::string m_child;
    std::string m_browser;
    std::vector<std::string> m_filters;
    bool m_inherited = false;
};

class BrowsersCommand {
public:
    void Declare(CLI::App&) {}
    int Run(XRun& run) const {
        ILXConfigFactory& factory = run.Session().Cached();
        return run.Answer({{"browsers", LXRows<ILXBrowserId, ILXBrowserIdEnum>(
                                            "GetBrowserIdEnum", XElementKind::BrowserId,
                                            {XProperty::BrowserIdName, XProperty::BrowserIdLabel},
                                            [&](auto** out) { return factory.GetBrowserIdEnum(out); })}});
    }
};

class FormatsCommand {
public:
    void Declare(CLI::App& app) { app.add_option("TYPE", m_type, "Those of this type's attributes instead"); }
    int Run(XRun& run) const {
        XCfcSession& session = run.Session();
        XJson rows = XJson::array();
        if (!m_type.empty()) {
            for (const auto& attribute : LXAttributesOf(*session.Type(m_type), 0)) {
                AddFormats(rows, "attribute", LXTextOf(*attribute, XProperty::AttributeName), *attribute);
            }
            const auto count = rows.size();
            if (!run.Options().json) { rows = Merged(rows); }
            return run.Answer({{"type", m_type}, {"count", count}, {"formats", std::move(rows)}});
        }
        for (const auto& spec : LXList<ILXGlobalAttributeFormatSpec, ILXGlobalAttributeFormatSpecEnum>(
                 "GetAllGlobalAttributeFormatSpecs",
                 [&](auto** out) { return session.Cached().GetAllGlobalAttributeFormatSpecs(out); })) {
            AddFormats(rows, "formatSpec", LXTextOf(*spec, XProperty::AttributeName), *spec);
        }
        return run.Answer({{"formats", std::move(rows)}});
    }

private:
    /// Merges equal formats into one row with the number of their attributes.
    static XJson Merged(const XJson& rows) {
        std::vector<std::pair<XJson, std::vector<std::string>>> alike;
        for (XJson row : rows) {
            std::string attribute = row["attribute"];
            row.erase("attribute");
            const auto same =
                std::find_if(alike.begin(), alike.end(), [&row](const auto& a) { return a.first == row; });
            auto& entry = same != alike.end() ? *same : alike.emplace_back(std::move(row), std::vector<std::string>());
            entry.second.push_back(std::move(attribute));
        }
        XJson merged = XJson::array();
        for (auto& [row, attributes] : alike) {
            row["count"] = attributes.size();
            row["attributes"] = LXFirstOf(attributes, 3);
            merged.push_back(std::move(row));
        }
        return merged;
    }

    template <class Owner>
    static void AddFormats(XJson& rows, const char* kind, const std::string& name, Owner& owner) {
        for (const auto& [formatType, format] : LXFormatsOf(owner)) {
            XJson row = {{kind, name}};
            row.update(LXSomeOf(XElementKind::Format, *format,
                                {XProperty::FormatType, XProperty::FormatPattern, XProperty::FormatWidth}));
            rows.push_back(std::move(row));
        }
    }

    std::string m_type;
};
} // namespace

void LXAddRelationCommands(XCommands& commands) {
    commands.Add<RelationsCommand>("relations", "The relations of a type: what is allowed below it");
    commands.Add<BrowsersCommand>("browsers", "The browsers that the server knows");
    commands.Add<FormatsCommand>("formats", "The global format specs, or the formats of a type");
}

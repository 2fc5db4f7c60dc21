// SPDX-License-Identifier: MIT
//
// Compares two configurations: what was added, removed and changed in the second one.
#include "XCommands.h"
#include "XPage.h"
#include "XSurvey.h"

#include <algorithm>

namespace {
constexpr const char* AnswerKinds[] = {"attribute", "format", "format spec", "attribute type", "browser", "editor",
                                       "group",     "page",   "relation",    "PC info",        "type"}; // XElementKind

/// The objects of a configuration by path. Inherited objects are listed only at the base.
XAnswers ObjectsOf(ILXConfigFactory& factory) {
    XSurvey survey(factory);
    const std::map<std::string, std::string> bases = survey.BasesOf(survey.TypeNames());
    XAnswers all = survey.General(survey.Browsers());
    for (const auto& [name, base] : bases) {
        all.merge(survey.OfType(name, bases));
    }
    XAnswers objects;
    for (const auto& [path, answer] : all) {
        const bool isInherited = answer.kind == XElementKind::Attribute && !all.contains(path + "/by name");
        if (answer.kind && !isInherited) { objects.emplace(path, answer); }
    }
    return objects;
}

XJson Row(const std::string& path, const XAnswer& answer) {
    const std::string kind = AnswerKinds[static_cast<std::size_t>(*answer.kind)];
    return {{"kind", kind}, {"name", path.starts_with(kind + " ") ? path.substr(kind.size() + 1) : path}};
}

/// The objects that are missing among the others. The parts of a missing object are counted, not listed.
XJson OnlyIn(const XAnswers& these, const XAnswers& others) {
    XJson rows = XJson::array();
    std::map<std::string, std::size_t> listed;
    for (const auto& [path, answer] : these) {
        if (others.contains(path)) { continue; }
        auto whole = listed.end();
        for (auto slash = path.find('/'); slash != path.npos && whole == listed.end();
             slash = path.find('/', slash + 1)) {
            whole = listed.find(path.substr(0, slash));
        }
        if (whole != listed.end()) {
            XJson& parts = rows[whole->second]["parts"];
            parts = parts.get<int>() + 1;
            continue;
        }
        listed.emplace(path, rows.size());
        rows.push_back(Row(path, answer));
        rows.back()["parts"] = 0;
    }
    return rows;
}

XJson Changed(const XAnswers& before, const XAnswers& after) {
    XJson rows = XJson::array();
    for (const auto& [path, answer] : before) {
        const auto other = after.find(path);
        if (other == after.end()) { continue; }
        const std::size_t count = std::max(answer.values.size(), other->second.values.size());
        for (std::size_t i = 0; i < count; ++i) {
            const XJson was = i < answer.values.size() ? answer.values[i] : XJson(nullptr);
            const XJson is = i < other->second.values.size() ? other->second.values[i] : XJson(nullptr);
            if (was == is) { continue; }
            XJson& row = rows.emplace_back(Row(path, answer));
            row["property"] = XPropertyNames::The().Key(*answer.kind, static_cast<int>(i));
            row["before"] = was;
            row["after"] = is;
        }
    }
    return rows;
}

class DiffCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option("A", m_first, "A model file, a server's library, or a registered server's ProgID or {CLSID}")
            ->required();
        app.add_option("B", m_second, "The configuration to compare A with; like A")->required();
        app.add_flag("--html", m_html, "Write an HTML page that shows B with its differences from A");
        app.add_option("--output", m_file, "The file to write the page to; standard output by default")
            ->needs("--html");
    }
    int Run(XRun& run) const {
        const XServerChoice& choice = run.Options().server;
        LXExpectThat(choice.name.empty() && choice.model.empty() && choice.generated == 0,
                     "diff takes its two configurations as arguments, not from --server, --model or --generate");
        LXExpectThat(!run.Options().json || !m_html, "--json excludes --html");
        const XToolComponent com;
        const auto first = LXServerNamed(m_first)->ConfigFactory();
        const auto second = LXServerNamed(m_second)->ConfigFactory();
        const XAnswers before = ObjectsOf(*first);
        const XAnswers after = ObjectsOf(*second);
        XJson removed = OnlyIn(before, after);
        XJson added = OnlyIn(after, before);
        XJson changed = Changed(before, after);
        const bool differs = !removed.empty() || !added.empty() || !changed.empty();
        XJson answer = {{"objects", before.size()}, {"differs", differs}};
        answer["removed"] = std::move(removed);
        answer["added"] = std::move(added);
        answer["changed"] = std::move(changed);
        if (m_html) {
            WritePage(*first, *second, std::move(answer));
        } else {
            run.Answer(answer);
        }
        return differs ? ExitDifferences : ExitOk;
    }

private:
    void WritePage(ILXConfigFactory& first, ILXConfigFactory& second, XJson comparison) const {
        const XPageData before(first, LXConfigurationName(m_first));
        XPageData page(second, LXConfigurationName(m_second));
        page.AddRemoved(before);
        comparison["before"] = before.Name();
        page.Set("comparison", std::move(comparison));
        page.Set("view", "comparison");
        LXWriteText(m_file, page.Html());
    }

    std::string m_first;
    std::string m_second;
    std::string m_file;
    bool m_html = false;
};
} // namespace

void LXAddDiffCommand(XCommands& commands) {
    commands.Add<DiffCommand>("diff", "What was added, removed and changed between two configurations");
}

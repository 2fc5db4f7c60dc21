// SPDX-License-Identifier: MIT
//
// Makes every possible query of both the cache and the server, and lists the differences.
#include "XCommands.h"
#include "XProgress.h"
#include "XSurvey.h"

#include <algorithm>

namespace {
/// The result of a comparison.
struct Comparison {
    std::size_t answers = 0;
    XJson differences = XJson::array();
    std::map<std::string, std::size_t> onPurpose; ///< number of documented differences by kind
    std::set<std::string> notOffered;             ///< queries that the server does not implement
};

/// Compares answers. After edits, differences in three cases are intended: removed types and removed attribute types
/// stay in the cache, because clients may hold them, and browser ids are read only once.
class Comparer {
public:
    /// @param edited  whether the server was edited after the cache was filled
    Comparer(Comparison& into, bool edited, const std::set<std::string>& removedTypes)
        : m_into(into), m_edited(edited), m_removedTypes(removedTypes) {}

    void Compare(const XAnswers& cached, const XAnswers& direct) {
        for (const auto& [path, answer] : cached) {
            ++m_into.answers;
            const auto other = direct.find(path);
            if (other != direct.end()) {
                CompareAnswers(path, answer, other->second);
            } else if (!IsOnPurpose(answer.kind, true)) {
                Differ(path, "there", "not there");
            }
        }
        for (const auto& [path, answer] : direct) {
            if (!cached.contains(path)) {
                ++m_into.answers;
                if (!IsOnPurpose(answer.kind, false)) { Differ(path, "not there", "there"); }
            }
        }
    }

private:
    bool IsOnPurpose(std::optional<XElementKind> kind, bool onlyInCache) {
        const bool removed = kind == XElementKind::AttributeType && onlyInCache;
        const bool readOnce = kind == XElementKind::BrowserId;
        if (!m_edited || (!removed && !readOnce)) { return false; }
        ++m_into.onPurpose[removed ? "removedAttributeTypes" : "browserIds"];
        return true;
    }

    void CompareAnswers(const std::string& path, const XAnswer& cached, const XAnswer& direct) {
        if (!cached.kind) {
            CompareNames(path, cached.values, direct.values);
            return;
        }
        const std::size_t count = std::max(cached.values.size(), direct.values.size());
        for (std::size_t i = 0; i < count; ++i) {
            const XJson ours = i < cached.values.size() ? cached.values[i] : XJson("not there");
            const XJson theirs = i < direct.values.size() ? direct.values[i] : XJson("not there");
            if (ours != theirs) {
                Differ(path + "/" + XPropertyNames::The().Key(*cached.kind, static_cast<int>(i)), ours, theirs);
            }
        }
    }

    void CompareNames(const std::string& path, std::vector<XJson> cached, const std::vector<XJson>& direct) {
        const auto removed = std::erase_if(cached, [&](const XJson& name) {
            return m_edited && m_removedTypes.contains(LXPlain(name)) &&
                   std::find(direct.begin(), direct.end(), name) == direct.end();
        });
        if (removed != 0 && path == "types") { m_into.onPurpose["removedTypes"] += removed; }
        if (cached != direct) { Differ(path, OnlyIn(cached, direct), OnlyIn(direct, cached)); }
    }

    static XJson OnlyIn(const std::vector<XJson>& these, const std::vector<XJson>& others) {
        XJson only = XJson::array();
        std::set_difference(these.begin(), these.end(), others.begin(), others.end(), std::back_inserter(only));
        return only.size() == 1 ? only.front() : only;
    }

    void Differ(const std::string& path, XJson cached, XJson direct) {
        m_into.differences.push_back({{"path", path}, {"cache", std::move(cached)}, {"server", std::move(direct)}});
    }

    Comparison& m_into;
    const bool m_edited;
    const std::set<std::string>& m_removedTypes;
};

/// The names of types, bases before derived types; types whose bases form a cycle come last.
std::vector<std::string> InOrder(const std::map<std::string, std::string>& bases) {
    std::vector<std::string> order;
    std::set<std::string> taken;
    while (order.size() < bases.size()) {
        const std::size_t before = order.size();
        for (const auto& [name, base] : bases) {
            if (!taken.contains(name) && (taken.contains(base) || !bases.contains(base))) {
                taken.insert(name);
                order.push_back(name);
            }
        }
        if (order.size() == before) {
            for (const auto& [name, base] : bases) {
                if (taken.insert(name).second) { order.push_back(name); }
            }
        }
    }
    return order;
}

Comparison CompareEverything(const XCfcSession& session, bool edited) {
    Comparison found;
    XSurvey cached(session.Cached(), session.Cache());
    XSurvey direct(session.Direct());
    std::set<std::string> names = cached.TypeNames();
    names.merge(direct.TypeNames());
    const std::map<std::string, std::string> bases = direct.BasesOf(names);
    std::set<std::string> removed;
    for (const std::string& name : names) {
        if (!bases.contains(name) && !direct.NotOffered().contains("GetType")) { removed.insert(name); }
    }
    cached.LeaveOut(direct.NotOffered());
    Comparer comparer(found, edited, removed);
    const std::vector<std::string> browsers = direct.Browsers();
    XAnswers answers = direct.General(browsers);
    cached.Expect(answers);
    comparer.Compare(cached.General(browsers), answers);
    XProgress progress("Comparing", bases.size());
    for (const std::string& name : InOrder(bases)) {
        answers = direct.OfType(name, bases);
        comparer.Compare(cached.OfType(name, bases), answers);
        progress.Step();
    }
    found.notOffered = direct.NotOffered();
    return found;
}

class CheckCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option("--edits", m_edits, "Make this many random edits on the server, then compare again")
            ->check(CLI::Range(0, 1000000));
        app.add_option("--seed", m_seed, "Seed of the random edits; the same seed makes the same edits")
            ->capture_default_str();
        app.add_flag("--unnotified", m_unnotified,
                     "Send no notifications: the cache must then differ, which shows that the check can fail")
            ->needs("--edits");
    }
    int Run(XRun& run) const {
        const XCfcSession& session = run.Session();
        if (m_edits > 0) { session.NeedSample("--edits"); }
        XJson answer = XJson::object();
        for (const auto& circle : LXCirclesOf(LXTypeNodes(session.Direct()))) {
            answer["basesInACircle"].push_back(LXJoined(circle, " -> ") + " -> " + circle.front());
        }
        bool differs = Describe(answer, CompareEverything(session, false));
        if (m_edits > 0 && !differs) {
            session.EditAtRandom(m_seed, m_edits, !m_unnotified);
            XJson& after = answer["after"] = {{"edits", m_edits}, {"seed", m_seed}};
            differs = Describe(after, CompareEverything(session, true));
        }
        run.Answer(answer);
        return differs ? ExitDifferences : ExitOk;
    }

private:
    static bool Describe(XJson& into, Comparison found) {
        into["answersCompared"] = found.answers;
        if (!found.notOffered.empty()) { into["notOffered"] = found.notOffered; }
        if (!found.onPurpose.empty()) { into["onPurpose"] = found.onPurpose; }
        into["differing"] = found.differences.size();
        into["differences"] = std::move(found.differences);
        return !into["differences"].empty();
    }

    unsigned m_edits = 0;
    unsigned m_seed = 1;
    bool m_unnotified = false;
};
} // namespace

void LXAddCheckCommand(XCommands& commands) {
    commands.Add<CheckCommand>("check", "Compares all answers of the cache with the server's");
}

// SPDX-License-Identifier: MIT
//
// Statistics of the cache, and times of the same reads with and without it.
#include "XCommands.h"
#include "XProcessMemory.h"
#include "XSurvey.h"
#include "XTrace.h"

#include <algorithm>
#include <cmath>

namespace {
double Milliseconds(std::chrono::steady_clock::time_point since) {
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - since;
    return static_cast<double>(static_cast<long long>(took.count() * 100)) / 100;
}

XJson CallsOf(const std::map<std::string, unsigned long long>& calls) {
    XJson rows = XJson::array();
    for (const auto& [name, count] : calls) {
        rows.push_back({{"method", name}, {"calls", count}});
    }
    return rows;
}

class StatsCommand {
public:
    void Declare(CLI::App&) {}
    int Run(XRun& run) const {
        const XTrace trace(1u << LX_LOG_SERVER);
        const auto start = std::chrono::steady_clock::now();
        const XCfcSession& session = run.Session();
        XJson answer = {{"startMilliseconds", Milliseconds(start)},
                        {"startCalls", XTrace::CallsOfThisThread()},
                        {"memoryKilobytes", session.MemoryOfTheCache()}};
        XSurvey survey(session.Cached(), session.Cache(), &XTrace::CallsOfThisThread);
        survey.AskEverything("Asking");
        XJson objects = XJson::object();
        for (const auto& [kind, count] : survey.Objects()) {
            objects[kind] = count;
        }
        XSurvey again(session.Cached(), session.Cache(), &XTrace::CallsOfThisThread);
        const auto second = std::chrono::steady_clock::now();
        const auto before = XTrace::CallsOfThisThread();
        again.AskEverything("Asking again");
        answer["objects"] = std::move(objects);
        answer["firstTime"] = Hits(survey);
        answer["again"] = Hits(again);
        answer["again"]["milliseconds"] = Milliseconds(second);
        answer["afterNotification"] = AfterNotification(session, XTrace::CallsOfThisThread() - before);
        if (session.Server().IsSample()) {
            const XServerObjectCount live = session.Server().LiveObjects();
            answer["serverObjectsHeld"] = live.objects;
            answer["serverReferencesHeld"] = live.references;
        }
        answer["processMemoryKilobytes"] = LXProcessMemory();
        answer["serverCalls"] = CallsOf(trace.Calls());
        return run.Answer(answer);
    }

private:
    /// The cost of the same queries when all values are stale.
    /// @param always  the number of calls that they take even if nothing is stale
    static XJson AfterNotification(const XCfcSession& session, unsigned long long always) {
        LXExpect(XLXComPtr<ILXConfigFactoryCache>(&session.Cache())
                     .As<ILXCallbackUpdate>()
                     ->DataObjectChanged(LXBstr("properties/all/0/1").Get(), LXBstr("cfc_specific").Get(), 256,
                                         ~ULONG{0}, 0, nullptr),
                 "DataObjectChanged");
        const auto before = XTrace::CallsOfThisThread();
        XSurvey survey(session.Cached(), session.Cache(), &XTrace::CallsOfThisThread);
        survey.AskEverything("Asking after a notification");
        const auto calls = XTrace::CallsOfThisThread() - before;
        unsigned long long objects = 0; // reading one by itself takes one call
        for (const auto& [kind, count] : survey.Objects()) {
            objects += count;
        }
        const auto made = calls - std::min(calls, always);
        return {{"objects", objects}, {"calls", made}, {"callsSaved", objects - std::min(objects, made)}};
    }
    static XJson Hits(const XSurvey& survey) {
        const auto hits = survey.Questions() - survey.Misses();
        return {{"questions", survey.Questions()},
                {"hits", hits},
                {"hitPercent", static_cast<double>(hits * 10000 / std::max(survey.Questions(), 1ULL)) / 100}};
    }
};

/// The reads of an application that shows a few types.
std::vector<std::string> Mix(ILXConfigFactory& factory, const std::vector<std::string>& types,
                             const std::vector<std::string>& browsers) {
    std::vector<std::string> answers;
    const auto read = [&answers](ILXConfigObject& object, std::initializer_list<int> members) {
        for (const int member : members) {
            answers.push_back(LXTextOf(object, member));
        }
    };
    for (const std::string& name : types) {
        XLXComPtr<ILXType> type;
        LXExpect(factory.GetType(LXBstr(name).Get(), nullptr, type.Put()), "GetType");
        read(*type, {XProperty::TypeName, XProperty::TypeLabel, XProperty::TypeIcon});
        for (const auto& group :
             LXList<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type->GetGroupEnum(out); })) {
            read(*group, {XProperty::GroupNumber, XProperty::GroupLabel});
        }
        for (const auto& attribute : LXAttributesOf(*type, LXD_EDITOR)) {
            read(*attribute, {XProperty::AttributeName, XProperty::Label, XProperty::Unit});
        }
        for (const std::string& browser : browsers) {
            XLXComPtr<ILXConfObjEditor> editor;
            const HRESULT result = type->GetDefaultEditor(LXBstr(browser).Get(), editor.Put());
            answers.push_back(editor ? LXTextOf(*editor, XProperty::ProgId) : LXResultName(result));
        }
    }
    return answers;
}

class BenchCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option("--types", m_types, "Number of types to read")
            ->check(CLI::Range(1, 100000))
            ->capture_default_str();
    }
    int Run(XRun& run) const {
        const XCfcSession& session = run.Session();
        std::vector<std::string> types;
        for (const auto& [name, node] : LXTypeNodes(session.Cached())) {
            types.push_back(name);
        }
        types.resize(std::min(types.size(), m_types));
        const auto browsers = XSurvey(session.Direct()).Browsers();
        std::vector<std::string> answers[3];
        XJson rows = XJson::array();
        int at = 0;
        for (const auto& [how, factory] :
             {std::pair("directly", &session.Direct()), std::pair("cache", &session.Cached()),
              std::pair("cache again", &session.Cached())}) {
            const bool counts = session.Server().IsSample();
            const XCallCounts calls = counts ? session.Server().CallCounts() : XCallCounts();
            const auto start = std::chrono::steady_clock::now();
            answers[at++] = Mix(*factory, types, browsers);
            rows.push_back({{"reads", how}, {"milliseconds", Milliseconds(start)}});
            if (counts) { rows.back()["calls"] = session.Server().CallCounts().Since(calls).Total(); }
        }
        LXExpectThat(answers[0] == answers[1] && answers[0] == answers[2],
                     "the cache's answers differ from the server's; lxcfc check lists the differences");
        const double cached = rows[2]["milliseconds"].get<double>();
        XJson answer = {{"types", types.size()}, {"answers", answers[0].size()}};
        answer["timesFaster"] =
            cached > 0 ? XJson(std::round(rows[0]["milliseconds"].get<double>() / cached * 10) / 10) : XJson(nullptr);
        answer["runs"] = std::move(rows);
        return run.Answer(answer);
    }

private:
    std::size_t m_types = 25;
};
} // namespace

void LXAddMeasureCommands(XCommands& commands) {
    commands.Add<StatsCommand>("stats", "The content of the cache, and how much it answers without the server");
    commands.Add<BenchCommand>("bench", "The same reads directly and through the cache");
}

// SPDX-License-Identifier: MIT
//
// Verifies the contract of a server, and measures the cost of a cache's start with it.
#include "XCommands.h"
#include "XServerVerifier.h"
#include "XTrace.h"

#include <cstdio>
#include <cstdlib>
#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {
constexpr LONG TransferModes[] = {0, 1, 2, 4, 8, 15}; // attributes 1, groups 2, pages 4, editors 8
constexpr const char* EditedType = "VerifiedByLxcfc";

double Rounded(double milliseconds) { return static_cast<double>(static_cast<long long>(milliseconds * 1000)) / 1000; }

/// Edits of the sample server: add a type, set its label, remove it. Each call makes the next edit.
class SampleEdits {
public:
    explicit SampleEdits(XToolServer& server) : m_server(server) {}
    ~SampleEdits() {
        try {
            while (m_made % 3 != 0) {
                Make();
            }
        } catch (const XToolFailure&) {
            // the server is gone
        }
    }
    SampleEdits(const SampleEdits&) = delete;
    SampleEdits& operator=(const SampleEdits&) = delete;

    void Make() {
        const char* const edits[] = {"AddType\"", "SetTypeProperty\",\"index\":1,\"value\":\"Verified\"",
                                     "RemoveType\""};
        const unsigned edit = m_made++ % 3;
        m_server.Edit(std::string("{\"edit\":\"") + edits[edit] + (edit == 1 ? ",\"type\":\"" : ",\"name\":\"") +
                      EditedType + "\"}");
    }

private:
    XToolServer& m_server;
    unsigned m_made = 0;
};

/// Runs the user's edit command.
void RunEdit(const std::string& command) {
    int status = std::system(command.c_str());
#ifndef _WIN32
    LXExpectThat(status != -1, "the edit command cannot be started");
    LXExpectThat(!WIFSIGNALED(status), "the edit command was ended by signal " + std::to_string(WTERMSIG(status)));
    status = WEXITSTATUS(status);
#endif
    LXExpectThat(status == 0, "the edit command ended with status " + std::to_string(status));
}

double MedianOf(const XVerifierReport& report, const std::string& method) {
    const auto found = report.times.find(method);
    return found != report.times.end() ? found->second[found->second.size() / 2] : 0;
}

XJson SpeedOf(const XVerifierReport& report) {
    XJson rows = XJson::array();
    for (const auto& [method, times] : report.times) {
        rows.push_back({{"method", method},
                        {"calls", times.size()},
                        {"medianMilliseconds", Rounded(times[times.size() / 2])},
                        {"worstMilliseconds", Rounded(times.back())}});
    }
    return rows;
}

/// The cost of a cache's start, and of reading the parts of all listed types.
class StartCosts {
public:
    StartCosts(const XToolComponent& component, XToolServer& server, const XVerifierReport& report)
        : m_component(component), m_server(server), m_report(report) {}

    XJson Rows() const {
        XJson rows = XJson::array();
        for (const LONG mode : TransferModes) {
            XJson row = {{"mode", mode}};
            Estimate(mode, row);
            Measure(mode, row);
            rows.push_back(std::move(row));
        }
        return rows;
    }

private:
    void Estimate(LONG mode, XJson& row) const {
        // Two bulk reads; to register the callback takes three calls.
        std::size_t calls = m_server.DataUpdate() ? 5 : 2;
        double time = MedianOf(m_report, "RegisterCallback") + 2 * MedianOf(m_report, "EnableAdvicesDataType") +
                      MedianOf(m_report, "GetTypeArrayEx mode " + std::to_string(mode)) +
                      MedianOf(m_report, "GetPCArray");
        row["startCallsEstimated"] = calls;
        row["startMillisecondsEstimated"] = Rounded(time);
        for (const LONG part : {1, 2, 4, 8}) {
            if ((mode & part) == 0) {
                calls += m_report.listed;
                time += static_cast<double>(m_report.listed) *
                        MedianOf(m_report, "GetTypeComponentData mode " + std::to_string(part));
            }
        }
        row["allCallsEstimated"] = calls;
        row["allMillisecondsEstimated"] = Rounded(time);
    }

    void Measure(LONG mode, XJson& row) const {
        const auto cache = m_component.Activate();
        const auto client = cache.As<IDPFObject>();
        const XTrace trace(1u << LX_LOG_SERVER);
        const auto start = std::chrono::steady_clock::now();
        try {
            Start(*client, mode);
            Put(row, "start", trace, start);
            ReadParts(*cache.As<ILXConfigFactory>());
            Put(row, "all", trace, start);
        } catch (const XToolFailure& failure) { row["failed"] = failure.what(); }
        client->Terminate();
    }

    void Start(IDPFObject& client, LONG mode) const {
        XLXVariantVector values;
        values.push_back(XLXComVariant::FromUnknown(m_server.ConfigFactory().Get()));
        values.emplace_back(); // no query object, because plan types are not used
        const XLXComPtr<ILXDataUpdate> update = m_server.DataUpdate();
        values.push_back(XLXComVariant::FromUnknown(update.Get()));
        values.push_back(XLXComVariant::FromBool(!update)); // no notifications
        values.push_back(XLXComVariant::FromBool(false));
        values.push_back(XLXComVariant::FromI4(mode));
        LXExpect(client.Initialize(static_cast<ULONG>(values.size()), &values[0].Get()), "IDPFObject::Initialize");
    }

    static void ReadParts(ILXConfigFactory& factory) {
        for (const auto& type : LXList<ILXType, ILXTypeEnum>(
                 "GetTypeEnum", [&](auto** out) { return factory.GetTypeEnum(nullptr, out); })) {
            LXList<ILXAttribute, ILXAttributeEnum>("GetAttributeEnum",
                                                   [&](auto** out) { return type->GetAttributeEnum(out); });
            LXList<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type->GetGroupEnum(out); });
            LXList<ILXPage, ILXPageEnum>("GetPageEnum", [&](auto** out) { return type->GetPageEnum(out); });
            LXList<ILXConfObjEditor, ILXConfObjEditorEnum>("GetConfObjEditorEnum",
                                                           [&](auto** out) { return type->GetConfObjEditorEnum(out); });
        }
    }

    static void Put(XJson& row, const std::string& what, const XTrace& trace,
                    std::chrono::steady_clock::time_point start) {
        unsigned long long calls = 0;
        for (const auto& [method, count] : trace.Calls()) {
            calls += count;
        }
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        row[what + "Calls"] = calls;
        row[what + "Milliseconds"] = Rounded(took.count());
    }

    const XToolComponent& m_component;
    XToolServer& m_server;
    const XVerifierReport& m_report;
};

XJson RulesOf(const XVerifierReport& report) {
    XJson rows = XJson::array();
    for (const XVerdict& verdict : report.verdicts) {
        XJson row = {{"rule", verdict.rule->id},
                     {"severity", LXSeverityName(verdict.rule->severity)},
                     {"guide", verdict.rule->guide},
                     {"verdict", verdict.IsBroken() ? "broken" : verdict.IsKept() ? "kept" : "not tested"},
                     {"checks", verdict.checks},
                     {"faults", verdict.faults}};
        row["sentence"] = verdict.rule->sentence;
        rows.push_back(std::move(row));
    }
    return rows;
}

/// The number of verdicts, and the broken and untested rules in detail.
XJson Describe(const XVerifierReport& report) {
    std::size_t kept = 0;
    XJson broken = XJson::array();
    XJson findings = XJson::array();
    XJson notTested = XJson::array();
    for (const XVerdict& verdict : report.verdicts) {
        const XContractRule& rule = *verdict.rule;
        if (verdict.IsBroken()) {
            broken.push_back({{"rule", rule.id},
                              {"severity", LXSeverityName(rule.severity)},
                              {"faults", verdict.faults},
                              {"sentence", rule.sentence}});
            for (const XFinding& finding : verdict.findings) {
                findings.push_back({{"path", std::string(rule.id) + ": " + finding.call}, {"came", finding.came}});
            }
        } else if (verdict.IsKept()) {
            ++kept;
        } else {
            notTested.push_back({{"rule", rule.id}, {"reason", verdict.notTested}});
        }
    }
    XJson answer = {
        {"types", report.types}, {"kept", kept}, {"broken", broken.size()}, {"notTested", notTested.size()}};
    if (!report.hanging.empty()) { answer["hanging"] = report.hanging; }
    answer["brokenRules"] = std::move(broken);
    answer["findings"] = std::move(findings);
    answer["notTestedRules"] = std::move(notTested);
    return answer;
}

class VerifyCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option(
            "--edit-command", m_editCommand,
            "Command line that changes the server, in a different way each time. The shell runs it in a separate "
            "process with the same environment, so it reaches a server in this process only through a database "
            "or a file. Without it, the sample server or the server's library (LXEditServer) edits itself");
        app.add_option("--limit", m_limit, "Longest time for one call, in seconds")
            ->check(CLI::Range(0.1, 3600.0))
            ->capture_default_str();
        app.add_option("--wait", m_wait, "Longest time from a change to its notification, in seconds")
            ->check(CLI::Range(0.1, 3600.0))
            ->capture_default_str();
        app.add_option("--types", m_types, "Number of types whose parts are read one by one")
            ->check(CLI::Range(1, 1000000))
            ->capture_default_str();
        app.add_flag("--no-start", m_noStart, "Do not measure the cost of starting a cache");
        app.add_flag("--rules", m_rules, "List all rules, with the verdict of each");
    }

    int Run(XRun& run) const {
        const XToolComponent component;
        const auto server = LXMakeServer(run.Options().server);
        const double delay = run.Options().server.delay * 1000;
        if (delay > 0) {
            LXExpectThat(server->IsSample(), "--delay works only with the sample server");
            server->SetDelay(std::chrono::microseconds(static_cast<long long>(delay)));
        }
        const XVerifierReport report = Verify(*server);
        const bool isKept = std::none_of(report.verdicts.begin(), report.verdicts.end(),
                                         [](const XVerdict& verdict) { return verdict.IsBroken(); });
        XJson answer = Describe(report);
        if (m_rules) { answer["rules"] = RulesOf(report); }
        answer["speed"] = SpeedOf(report);
        if (report.hanging.empty() && !m_noStart) { answer["starts"] = StartCosts(component, *server, report).Rows(); }
        run.Answer(answer);
        if (!report.hanging.empty()) {
            std::fflush(nullptr);
            std::_Exit(ExitDifferences); // a thread is still in the hanging call
        }
        return isKept ? ExitOk : ExitDifferences;
    }

private:
    XVerifierReport Verify(XToolServer& server) const {
        const auto milliseconds = [](double seconds) {
            return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
        };
        SampleEdits edits(server);
        XServerToVerify verified;
        verified.factory = server.ConfigFactory();
        verified.update = server.DataUpdate();
        verified.query = server.Query();
        verified.inProcess = server.IsLocal();
        if (!m_editCommand.empty()) {
            verified.edit = [this] { RunEdit(m_editCommand); };
        } else if (server.IsSample()) {
            verified.edit = [&edits] { edits.Make(); };
        } else if (server.EditsItself()) {
            verified.edit = [&server, number = LONG{0}]() mutable { server.EditItself(++number); };
        }
        if (server.IsLocal() && server.CountsObjects()) {
            verified.live = [&server] {
                const XServerObjectCount live = server.LiveObjects();
                return std::pair(live.objects, live.references);
            };
        }
        XVerifierOptions options;
        options.limit = milliseconds(m_limit);
        options.notification = milliseconds(m_wait);
        options.types = m_types;
        return LXVerifyServer(verified, options);
    }

    std::string m_editCommand;
    double m_limit = 10;
    double m_wait = 5;
    std::size_t m_types = 50;
    bool m_noStart = false;
    bool m_rules = false;
};
} // namespace

void LXAddVerifyCommand(XCommands& commands) {
    commands.Add<VerifyCommand>("verify-server", "Verifies the contract of a server, rule by rule");
}

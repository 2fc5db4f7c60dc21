// SPDX-License-Identifier: MIT
#include "XServerVerifier.h"

#include "XApartment.h"
#include "XVerification.h"

#include <algorithm>
#include <future>
#include <thread>

namespace {
/// References to the config factory, as it counts them itself.
ULONG ReferencesOf(ILXConfigFactory& factory) {
    factory.AddRef();
    return factory.Release();
}

std::string TextOf(const std::pair<LONG, LONG>& live) {
    return std::to_string(live.first) + " objects" +
           (live.second != 0 ? " with " + std::to_string(live.second) + " references" : "");
}

/// Runs families of rules whose answers are all released when they end.
template <class... Families> void Balanced(XVerification& verification, Families... families) {
    const XServerToVerify& server = verification.Server();
    if (!server.inProcess) {
        verification.Findings().NotTested(XRule::References, XVerification::BehindProxies);
        (families(verification), ...);
        return;
    }
    const ULONG before = ReferencesOf(*server.factory);
    const auto liveBefore = server.live ? server.live() : std::pair<LONG, LONG>();
    (families(verification), ...);
    const ULONG after = ReferencesOf(*server.factory);
    const auto liveAfter = server.live ? server.live() : std::pair<LONG, LONG>();
    verification.Findings().Check(after == before, XRule::References, "the config factory",
                                  std::to_string(after) + " references after the questions, " + std::to_string(before) +
                                      " before");
    if (!server.live) { return; }
    verification.Findings().Check(liveAfter == liveBefore, XRule::References, "all objects of the server",
                                  TextOf(liveAfter) + " after the questions, " + TextOf(liveBefore) + " before");
}

void Run(XVerification& verification) {
    const XApartment apartment;
    try {
        LXVerifyBulkReads(verification);
        if (verification.Bulk() == nullptr) { return; }
        Balanced(verification, LXVerifyLookUps, LXVerifyTypes, LXVerifyParts, LXVerifyRelations, LXVerifySelections,
                 LXVerifyEnumerations, LXVerifyThreads);
        LXVerifyNotifications(verification);
        verification.Findings().Kept(XRule::InTime);
    } catch (const XGivenUp&) {
        // the report is made already
    }
}

void ReportHanging(XVerification& verification, const std::string& call) {
    XFindings& findings = verification.Findings();
    const std::string came = "no answer within " + std::to_string(verification.Options().limit.count()) + " ms";
    findings.Broken(XRule::InTime, call, came);
    if (verification.insideNotifications != 0) { findings.Broken(XRule::NotifyCallable, call, came); }
    for (const XContractRule& rule : LXContract()) {
        findings.NotTested(rule.rule, "the verification ended at the call that makes no end");
    }
}
} // namespace

XVerifierReport LXVerifyServer(const XServerToVerify& server, const XVerifierOptions& options) {
    const auto verification = std::make_shared<XVerification>(server, options);
    std::packaged_task<void()> task([verification] { Run(*verification); });
    std::future<void> done = task.get_future();
    std::thread worker(std::move(task));
    XVerifierReport report;
    while (done.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
        if (const auto hanging = verification->Calls().Hanging(options.limit)) {
            verification->Calls().GiveUp();
            ReportHanging(*verification, *hanging);
            report.hanging = *hanging;
            break;
        }
    }
    report.hanging.empty() ? worker.join() : worker.detach();
    report.verdicts = verification->Findings().Verdicts();
    report.times = verification->Calls().Times();
    if (report.hanging.empty()) {
        done.get();
        const std::optional<XReadTypes>& types = verification->types;
        report.types = types ? types->records.size() : 0;
        report.listed =
            !types ? 0
                   : static_cast<std::size_t>(std::count_if(types->records.begin(), types->records.end(),
                                                            [](const XReadType& type) { return type.listed; }));
    }
    return report;
}

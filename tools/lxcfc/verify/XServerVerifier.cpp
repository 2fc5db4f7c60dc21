// SPDX-License-Identifier: MIT
#include "XServerVerifier.h"

#include "XApartment.h"
#include "XVerification.h"

#include <algorithm>
#include <future>
#include <thread>

namespace {
/// The reference count of the config factory, as returned by Release.
ULONG ReferencesOf(ILXConfigFactory& factory) {
    factory.AddRef();
    return factory.Release();
}

/// The objects and references that exist in the server.
struct Held {
    ULONG factory = 0;          ///< references to the config factory
    std::pair<LONG, LONG> live; ///< number of objects, and of references to them

    bool operator==(const Held&) const = default;
};

Held HeldBy(const XServerToVerify& server) {
    return {ReferencesOf(*server.factory), server.live ? server.live() : std::pair<LONG, LONG>()};
}

std::string TextOf(const std::pair<LONG, LONG>& live) {
    return std::to_string(live.first) + " objects" +
           (live.second != 0 ? " with " + std::to_string(live.second) + " references" : "");
}

/// Runs families of rules, which release everything they get, and checks that the server then holds no more objects and
/// references than before. A server may keep objects that it creates at the first use, so after a difference the
/// families run once more.
template <class... Families> void Balanced(XVerification& verification, Families... families) {
    const XServerToVerify& server = verification.Server();
    if (!server.inProcess) {
        verification.Findings().NotTested(XRule::References, XVerification::BehindProxies);
        (families(verification), ...);
        return;
    }
    Held before = HeldBy(server);
    (families(verification), ...);
    Held after = HeldBy(server);
    if (after != before) {
        before = after;
        (families(verification), ...);
        after = HeldBy(server);
    }
    verification.Findings().Check(after.factory == before.factory, XRule::References, "the config factory",
                                  std::to_string(after.factory) + " references after the calls, " +
                                      std::to_string(before.factory) + " before");
    if (!server.live) { return; }
    verification.Findings().Check(after.live == before.live, XRule::References, "all objects of the server",
                                  TextOf(after.live) + " after the calls, " + TextOf(before.live) + " before");
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
        // the report has already been made
    }
}

void ReportHanging(XVerification& verification, const std::string& call) {
    XFindings& findings = verification.Findings();
    const std::string came = "no answer within " + std::to_string(verification.Options().limit.count()) + " ms";
    findings.Broken(XRule::InTime, call, came);
    if (verification.insideNotifications != 0) { findings.Broken(XRule::NotifyCallable, call, came); }
    for (const XContractRule& rule : LXContract()) {
        findings.NotTested(rule.rule, "the verification ended at the call that did not return");
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

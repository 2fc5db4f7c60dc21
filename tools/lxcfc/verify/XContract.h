// SPDX-License-Identifier: MIT
//
// The rules of a server's contract, and the verdict on each.
#ifndef XCONTRACT_H
#define XCONTRACT_H

#include <array>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

enum class XRule {
    Offered,
    Nothing,
    FailureLeavesNull,
    UnknownName,
    PropertyRange,
    InTime,
    ArrayShape,
    ArrayHeader,
    ArrayElements,
    ArrayCounts,
    OwnValues,
    ValueSlots,
    ValueKinds,
    NamesPresent,
    NamesUnique,
    NamesMatch,
    BaseExists,
    BaseCircle,
    AgreeType,
    AgreeProperty,
    AgreeComponents,
    AgreeNamed,
    AgreeBases,
    AgreeList,
    AgreeListed,
    AgreeObjects,
    AgreeLookups,
    AgreeEnumerations,
    AgreeRelations,
    AgreeDisplays,
    AgreeDefaults,
    PlanTypes,
    NullObjects,
    EnumEnds,
    EnumCounts,
    EnumSingle,
    EnumReset,
    EnumSkip,
    EnumClone,
    Threads,
    UnknownClient,
    NotifySent,
    NotifyEveryClient,
    NotifyAfter,
    NotifyIds,
    NotifyDataId,
    NotifyConcerns,
    NotifyCallable,
    CallbackKept,
    CallbackDropped,
    CallbackSilent,
    CallbackReleased,
    References,
    Count
};

enum class XSeverity {
    Must,  ///< otherwise the cache or its clients fail
    Should ///< the cache tolerates a violation, other clients may not
};

struct XContractRule {
    XRule rule;
    const char* id;
    XSeverity severity;
    int guide; ///< the number of the rule in the guide's section on servers
    const char* sentence;
};

using XContract = std::array<XContractRule, static_cast<std::size_t>(XRule::Count)>;
/// All rules, in the order of XRule.
const XContract& LXContract();
/// "must" or "should".
const char* LXSeverityName(XSeverity severity);

/// A violation of a rule.
struct XFinding {
    std::string call; ///< such as GetTypeArrayEx(15)
    std::string came;
};

struct XVerdict {
    const XContractRule* rule = nullptr;
    std::size_t checks = 0;         ///< number of successful checks
    std::size_t faults = 0;         ///< number of failed checks
    std::vector<XFinding> findings; ///< the first faults
    std::string notTested;          ///< why it was not tested; valid if there are no checks and no faults

    bool IsBroken() const { return faults != 0; }
    bool IsKept() const { return faults == 0 && checks != 0; }
};

/// Collects the verdicts. Thread-safe.
class XFindings {
public:
    XFindings();

    void Kept(XRule rule);
    void Broken(XRule rule, const std::string& call, const std::string& came);
    /// Calls Kept or Broken. Returns `kept`.
    bool Check(bool kept, XRule rule, const std::string& call, const std::string& came);
    /// Records why a rule cannot be tested. The first reason is kept.
    void NotTested(XRule rule, const std::string& reason);

    std::vector<XVerdict> Verdicts() const;

private:
    static constexpr std::size_t MostFindings = 5; // per rule

    mutable std::mutex m_mutex;
    std::vector<XVerdict> m_verdicts;
};

#endif

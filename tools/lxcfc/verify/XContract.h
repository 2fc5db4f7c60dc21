// SPDX-License-Identifier: MIT
//
// A server's contract, rule by rule, and what was found of each.
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
    Must,  ///< the cache, or a client of it, goes wrong
    Should ///< the cache allows for it; another client need not
};

struct XContractRule {
    XRule rule;
    const char* id;
    XSeverity severity;
    int guide; ///< the number of the rule in the guide's section for servers
    const char* sentence;
};

using XContract = std::array<XContractRule, static_cast<std::size_t>(XRule::Count)>;
/// All rules, in the order of XRule.
const XContract& LXContract();
/// "must" or "should".
const char* LXSeverityName(XSeverity severity);

/// What broke a rule.
struct XFinding {
    std::string call; ///< such as GetTypeArrayEx(15)
    std::string came;
};

struct XVerdict {
    const XContractRule* rule = nullptr;
    std::size_t checks = 0;         ///< how often it was seen kept
    std::size_t faults = 0;         ///< how often it was seen broken
    std::vector<XFinding> findings; ///< the first few of the faults
    std::string notTested;          ///< why it was not tested; counts where there are no checks and no faults

    bool IsBroken() const { return faults != 0; }
    bool IsKept() const { return faults == 0 && checks != 0; }
};

/// Verdicts as they come together. May be used from any thread.
class XFindings {
public:
    XFindings();

    void Kept(XRule rule);
    void Broken(XRule rule, const std::string& call, const std::string& came);
    /// One of the two.
    bool Check(bool kept, XRule rule, const std::string& call, const std::string& came);
    /// Why a rule cannot be tested; the first reason stays.
    void NotTested(XRule rule, const std::string& reason);

    std::vector<XVerdict> Verdicts() const;

private:
    static constexpr std::size_t MostFindings = 5; // of one rule

    mutable std::mutex m_mutex;
    std::vector<XVerdict> m_verdicts;
};

#endif

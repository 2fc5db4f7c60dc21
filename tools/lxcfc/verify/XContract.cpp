// SPDX-License-Identifier: MIT
#include "XContract.h"

namespace {
constexpr const char* NothingToTestWith = "the server gave nothing to test it with";
constexpr XSeverity Must = XSeverity::Must;
constexpr XSeverity Should = XSeverity::Should;

// clang-format off
constexpr XContract Contract{{
    {XRule::Offered, "offered", Must, 1, "The config factory has ILXConfigFactoryEx, and what the cache asks for is answered without failure"},
    {XRule::Nothing, "nothing", Must, 3, "Nothing to give is S_FALSE with a null result; S_OK never comes with null"},
    {XRule::FailureLeavesNull, "failure-null", Must, 3, "A call that fails leaves its out parameter null"},
    {XRule::UnknownName, "unknown-name", Must, 3, "A look-up of what there is not answers S_FALSE"},
    {XRule::PropertyRange, "property-range", Should, 3, "A property index outside of the values is E_INVALIDARG"},
    {XRule::InTime, "in-time", Must, 4, "Every call answers within the time limit"},
    {XRule::ArrayShape, "array-shape", Must, 2, "An array has one dimension, of variants"},
    {XRule::ArrayHeader, "array-header", Must, 2, "An array begins with its algorithm and its wrapper"},
    {XRule::ArrayElements, "array-elements", Must, 2, "Each element of an array is of exactly its type"},
    {XRule::ArrayCounts, "array-counts", Must, 2, "Counts are not negative, and as many elements follow as they say"},
    {XRule::OwnValues, "own-values", Must, 2, "A value owns what it has: no VT_BYREF, and no unknown type"},
    {XRule::ValueSlots, "value-slots", Must, 2, "An attribute has 60 values, an attribute type 7, any other object those that the cache reads"},
    {XRule::ValueKinds, "value-kinds", Must, 2, "Values that the cache reads are of the kind that it needs: names texts, numbers numbers, flags booleans or numbers"},
    {XRule::NamesPresent, "names-present", Must, 2, "What is found by its name has one"},
    {XRule::NamesUnique, "names-unique", Must, 2, "A name or number stands for one object of its owner"},
    {XRule::NamesMatch, "names-match", Must, 2, "A type array names each of its records, as the record's value 0 does; an index is used once"},
    {XRule::BaseExists, "base-exists", Must, 2, "The base type that a type names is there, and its index is that type's"},
    {XRule::BaseCircle, "base-circle", Must, 2, "Base types do not go round in a circle"},
    {XRule::AgreeType, "agree-type", Must, 1, "GetType gives the type with the values of the type array"},
    {XRule::AgreeProperty, "agree-property", Must, 1, "GetProperty gives what GetProperties gives"},
    {XRule::AgreeComponents, "agree-components", Must, 1, "GetTypeComponentData gives what the type array has"},
    {XRule::AgreeNamed, "agree-named", Must, 1, "GetTypeArrayByTypeNameEx without bases gives the record of that type, and no other"},
    {XRule::AgreeBases, "agree-bases", Must, 1, "GetTypeArrayByTypeNameEx with bases gives the records of all of them"},
    {XRule::AgreeList, "agree-list", Must, 1, "GetTypeArrayByTypeNameArrayEx gives the records of all types that it is asked for"},
    {XRule::AgreeListed, "agree-listed", Must, 1, "GetTypeEnum gives the types that the type array says are listed, GetSearchableTypeEnum those that are searchable too"},
    {XRule::AgreeObjects, "agree-objects", Must, 1, "An object in an array has its interface, and the values of its record"},
    {XRule::AgreeLookups, "agree-lookups", Must, 1, "Look-ups by name or number find what the arrays have, with the same values"},
    {XRule::AgreeEnumerations, "agree-enumerations", Must, 1, "The enumerations of a type's parts give what the arrays have"},
    {XRule::AgreeRelations, "agree-relations", Must, 1, "GetParentChildEnum gives the relations of GetPCArray, and a relation's PC infos are found by their browser"},
    {XRule::AgreeDisplays, "agree-displays", Should, 1, "GetDisplayAttributeEnum, GetGroupAttributeEnum and GetDisplayGroupAttributeEnum give the attributes whose values say so"},
    {XRule::AgreeDefaults, "agree-defaults", Should, 1, "GetDefaultEditor and GetDefaultNewEditor give an editor whose values say so, and nothing only where there is none"},
    {XRule::PlanTypes, "plan-types", Must, 1, "ILX_Query searches for plan types, and finds the same after ResetSearch"},
    {XRule::NullObjects, "null-objects", Must, 7, "An object that a record comes without is found by a look-up or an enumeration"},
    {XRule::EnumEnds, "enum-ends", Must, 1, "An enumeration comes to an end and stays there"},
    {XRule::EnumCounts, "enum-counts", Must, 1, "RemNext gives at most what was asked for, S_OK exactly when it gives all of that, and no null elements"},
    {XRule::EnumSingle, "enum-single", Should, 1, "GetSingleNext gives what RemNext gives, and S_FALSE with null at the end"},
    {XRule::EnumReset, "enum-reset", Should, 1, "Reset starts again at the first element, or is E_NOTIMPL"},
    {XRule::EnumSkip, "enum-skip", Should, 1, "Skip passes over so many elements, or is E_NOTIMPL"},
    {XRule::EnumClone, "enum-clone", Should, 1, "Clone gives an enumeration at the same place, or is E_NOTIMPL"},
    {XRule::Threads, "threads", Must, 4, "Calls from several threads at once are answered as those from one"},
    {XRule::UnknownClient, "unknown-client", Should, 8, "A client id that is not registered is refused"},
    {XRule::NotifySent, "notify-sent", Must, 5, "A change is notified, and as the data type cfc_specific"},
    {XRule::NotifyEveryClient, "notify-every-client", Must, 5, "Every client that asked is notified"},
    {XRule::NotifyAfter, "notify-after", Must, 5, "Who asks from inside the notification sees the change"},
    {XRule::NotifyIds, "notify-ids", Must, 5, "The ids of a client's notifications rise"},
    {XRule::NotifyDataId, "notify-data-id", Must, 5, "A data id is kind/object/sub number/update mode, of a known kind and known modes"},
    {XRule::NotifyConcerns, "notify-concerns", Must, 5, "The notifications of a change concern all that changed"},
    {XRule::NotifyCallable, "notify-callable", Must, 5, "The server answers while a client is in the notification, on that thread and on others"},
    {XRule::CallbackKept, "callback-kept", Must, 8, "The server holds a reference to a registered callback"},
    {XRule::CallbackDropped, "callback-dropped", Should, 8, "A client whose callback says that it is disconnected is not called again"},
    {XRule::CallbackSilent, "callback-silent", Must, 8, "A client that has unregistered hears nothing more"},
    {XRule::CallbackReleased, "callback-released", Must, 8, "UnregisterCallback gives the reference to the callback back"},
    {XRule::References, "references", Must, 3, "When the answers to questions are released, the server's objects have the references that they had"},
}};
// clang-format on

constexpr bool IsInOrder() noexcept {
    for (std::size_t i = 0; i < Contract.size(); ++i) {
        if (static_cast<std::size_t>(Contract[i].rule) != i) { return false; }
    }
    return true;
}
static_assert(IsInOrder(), "a row for each rule, in their order");
} // namespace

const XContract& LXContract() { return Contract; }

const char* LXSeverityName(XSeverity severity) { return severity == Must ? "must" : "should"; }

XFindings::XFindings() : m_verdicts(Contract.size()) {
    for (std::size_t i = 0; i < Contract.size(); ++i) {
        m_verdicts[i].rule = &Contract[i];
        m_verdicts[i].notTested = NothingToTestWith;
    }
}

void XFindings::Kept(XRule rule) {
    const std::lock_guard lock(m_mutex);
    ++m_verdicts[static_cast<std::size_t>(rule)].checks;
}

void XFindings::Broken(XRule rule, const std::string& call, const std::string& came) {
    const std::lock_guard lock(m_mutex);
    XVerdict& verdict = m_verdicts[static_cast<std::size_t>(rule)];
    if (++verdict.faults <= MostFindings) { verdict.findings.push_back({call, came}); }
}

bool XFindings::Check(bool kept, XRule rule, const std::string& call, const std::string& came) {
    kept ? Kept(rule) : Broken(rule, call, came);
    return kept;
}

void XFindings::NotTested(XRule rule, const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    XVerdict& verdict = m_verdicts[static_cast<std::size_t>(rule)];
    if (verdict.notTested == NothingToTestWith) { verdict.notTested = reason; }
}

std::vector<XVerdict> XFindings::Verdicts() const {
    const std::lock_guard lock(m_mutex);
    return m_verdicts;
}

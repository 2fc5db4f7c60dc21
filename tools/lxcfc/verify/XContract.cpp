// SPDX-License-Identifier: MIT
#include "XContract.h"

namespace {
constexpr const char* NothingToTestWith = "the server returned nothing to test it with";
constexpr XSeverity Must = XSeverity::Must;
constexpr XSeverity Should = XSeverity::Should;

// clang-format off
constexpr XContract Contract{{
    {XRule::Offered, "offered", Must, 1, "The config factory implements ILXConfigFactoryEx, and the methods that the cache calls succeed"},
    {XRule::Nothing, "nothing", Must, 3, "An empty result is S_FALSE with null; S_OK never comes with null"},
    {XRule::FailureLeavesNull, "failure-null", Must, 3, "A call that fails leaves its out parameter null"},
    {XRule::UnknownName, "unknown-name", Must, 3, "A look-up of an unknown name or number returns S_FALSE"},
    {XRule::PropertyRange, "property-range", Should, 3, "A property index out of range returns E_INVALIDARG"},
    {XRule::InTime, "in-time", Must, 4, "Every call returns within the time limit"},
    {XRule::ArrayShape, "array-shape", Must, 2, "An array has one dimension, and its elements are variants"},
    {XRule::ArrayHeader, "array-header", Must, 2, "An array begins with its algorithm and wrapper ids"},
    {XRule::ArrayElements, "array-elements", Must, 2, "Each element of an array has exactly the required type"},
    {XRule::ArrayCounts, "array-counts", Must, 2, "Counts are not negative, and that many elements follow"},
    {XRule::OwnValues, "own-values", Must, 2, "A value owns its content: no VT_BYREF, and no unknown type"},
    {XRule::ValueSlots, "value-slots", Must, 2, "An attribute has 60 values, an attribute type 7, any other object at least those that the cache reads"},
    {XRule::ValueKinds, "value-kinds", Must, 2, "Values that the cache reads have the required type: text for names, numbers for numbers, booleans or numbers for flags"},
    {XRule::NamesPresent, "names-present", Must, 2, "An element that is looked up by name has a name"},
    {XRule::NamesUnique, "names-unique", Must, 2, "A name or number is unique within its owner"},
    {XRule::NamesMatch, "names-match", Must, 2, "A type array has a name for each record, equal to the record's value 0; no index is used twice"},
    {XRule::BaseExists, "base-exists", Must, 2, "The base type of a type exists, and its index refers to it"},
    {XRule::BaseCircle, "base-circle", Must, 2, "Base types do not form a cycle"},
    {XRule::AgreeType, "agree-type", Must, 1, "GetType returns the type with the values of the type array"},
    {XRule::AgreeProperty, "agree-property", Must, 1, "GetProperty and GetProperties return the same values"},
    {XRule::AgreeComponents, "agree-components", Must, 1, "GetTypeComponentData returns the components of the type array"},
    {XRule::AgreeNamed, "agree-named", Must, 1, "GetTypeArrayByTypeNameEx without bases returns the record of that type, and no other"},
    {XRule::AgreeBases, "agree-bases", Must, 1, "GetTypeArrayByTypeNameEx with bases returns the records of the type and all its bases"},
    {XRule::AgreeList, "agree-list", Must, 1, "GetTypeArrayByTypeNameArrayEx returns the records of all requested types"},
    {XRule::AgreeListed, "agree-listed", Must, 1, "GetTypeEnum returns the types that the type array marks as listed, GetSearchableTypeEnum those that are also searchable"},
    {XRule::AgreeObjects, "agree-objects", Must, 1, "An object in an array has the interface of its kind, and the values of its record"},
    {XRule::AgreeLookups, "agree-lookups", Must, 1, "Look-ups by name or number find the elements of the arrays, with the same values"},
    {XRule::AgreeEnumerations, "agree-enumerations", Must, 1, "The enumerations of a type's parts return the elements of the arrays"},
    {XRule::AgreeRelations, "agree-relations", Must, 1, "GetParentChildEnum returns the relations of GetPCArray, and a relation's PC infos are found by browser"},
    {XRule::AgreeDisplays, "agree-displays", Should, 1, "GetDisplayAttributeEnum, GetGroupAttributeEnum and GetDisplayGroupAttributeEnum select attributes according to their values"},
    {XRule::AgreeDefaults, "agree-defaults", Should, 1, "GetDefaultEditor and GetDefaultNewEditor return an editor that is a default according to its values, and nothing only if there is none"},
    {XRule::PlanTypes, "plan-types", Must, 1, "ILX_Query finds plan types, and the same ones after ResetSearch"},
    {XRule::NullObjects, "null-objects", Must, 7, "If a record has no object, a look-up or an enumeration finds it"},
    {XRule::EnumEnds, "enum-ends", Must, 1, "An enumeration ends, and stays at its end"},
    {XRule::EnumCounts, "enum-counts", Must, 1, "RemNext returns at most the requested number of elements, S_OK exactly if it returns all of them, and no null elements"},
    {XRule::EnumSingle, "enum-single", Should, 1, "GetSingleNext returns the elements of RemNext, and S_FALSE with null at the end"},
    {XRule::EnumReset, "enum-reset", Should, 1, "Reset returns to the first element, or returns E_NOTIMPL"},
    {XRule::EnumSkip, "enum-skip", Should, 1, "Skip skips the given number of elements, or returns E_NOTIMPL"},
    {XRule::EnumClone, "enum-clone", Should, 1, "Clone returns an enumeration at the same position, or E_NOTIMPL"},
    {XRule::Threads, "threads", Must, 4, "Concurrent calls from several threads return the same results as calls from one"},
    {XRule::UnknownClient, "unknown-client", Should, 8, "A client id that is not registered is refused"},
    {XRule::NotifySent, "notify-sent", Must, 5, "A change is notified, with the data type cfc_specific"},
    {XRule::NotifyEveryClient, "notify-every-client", Must, 5, "Every client that enabled the data type is notified"},
    {XRule::NotifyAfter, "notify-after", Must, 5, "A query from inside the notification returns the new state"},
    {XRule::NotifyIds, "notify-ids", Must, 5, "The ids of a client's notifications increase"},
    {XRule::NotifyDataId, "notify-data-id", Must, 5, "A data id is kind/object/sub number/update mode, of a known kind and known modes"},
    {XRule::NotifyConcerns, "notify-concerns", Must, 5, "The notifications of a change concern all data that changed"},
    {XRule::NotifyCallable, "notify-callable", Must, 5, "The server answers calls while a client handles a notification, on that thread and on others"},
    {XRule::CallbackKept, "callback-kept", Must, 8, "The server holds a reference to a registered callback"},
    {XRule::CallbackDropped, "callback-dropped", Should, 8, "A client whose callback reports that it is disconnected is not called again"},
    {XRule::CallbackSilent, "callback-silent", Must, 8, "A client that has unregistered is not notified any more"},
    {XRule::CallbackReleased, "callback-released", Must, 8, "UnregisterCallback releases the reference to the callback"},
    {XRule::References, "references", Must, 3, "When the results of calls are released, the reference counts of the server's objects are as before"},
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

// SPDX-License-Identifier: MIT
//
// Rules for the agreement of bulk reads and single reads of types.
#include "XVerification.h"

#include <algorithm>

namespace {
constexpr const char* AllTypes = "the array of all types";
constexpr const char* ThisAnswer = "this answer";

/// A difference between two lists of parts, ignoring their order; empty if there is none.
std::string DifferenceOf(const std::vector<XReadRecord>& expected, const std::vector<XReadRecord>& came) {
    std::multimap<std::string, const XReadRecord*> left;
    for (const XReadRecord& record : came) {
        left.emplace(record.Key(), &record);
    }
    for (const XReadRecord& record : expected) {
        const auto other = left.find(record.Key());
        if (other == left.end()) { return record.path + " is missing"; }
        const std::string values =
            LXDifference(LXRowOf(record.values), AllTypes, LXRowOf(other->second->values), ThisAnswer);
        if (!values.empty()) { return record.path + ": " + values; }
        if (const std::string types = DifferenceOf(record.types, other->second->types); !types.empty()) {
            return types;
        }
        left.erase(other);
    }
    return left.empty() ? "" : left.begin()->second->path + " is in only one of the arrays";
}

std::string DifferenceOf(const XReadComponents& expected, const XReadComponents& came) {
    for (const auto list :
         {&XReadComponents::pages, &XReadComponents::groups, &XReadComponents::editors, &XReadComponents::attributes}) {
        if (!(expected.*list) || !(came.*list)) { continue; } // not delivered
        if (const std::string difference = DifferenceOf(*(expected.*list), *(came.*list)); !difference.empty()) {
            return difference;
        }
    }
    return "";
}

std::string DifferenceOf(const XReadType& expected, const XReadType& came) {
    const std::string values =
        LXDifference(LXRowOf(expected.head.values), AllTypes, LXRowOf(came.head.values), ThisAnswer);
    if (!values.empty()) { return expected.head.path + ": " + values; }
    if (expected.listed != came.listed || expected.searchable != came.searchable) {
        return expected.head.path + ": listed or searchable in only one of the arrays";
    }
    return DifferenceOf(expected.components, came.components);
}

/// Compares a result with the records of the array of all types.
/// @param only  true: the result must not contain other records
void CompareRecords(XVerification& verification, XRule rule, const std::string& call,
                    const std::vector<std::string>& expected, const XReadTypes& came, bool only) {
    for (const std::string& name : expected) {
        const XReadType* const record = came.Find(name);
        const XReadType* const original = verification.types->Find(name);
        const std::string difference = record == nullptr     ? "the record of " + LXQuoted(name) + " is missing"
                                       : original == nullptr ? ""
                                                             : DifferenceOf(*original, *record);
        verification.Findings().Check(difference.empty(), rule, call, difference);
    }
    if (only) {
        verification.Findings().Check(came.records.size() <= expected.size(), rule, call,
                                      std::to_string(came.records.size()) + " records instead of " +
                                          std::to_string(expected.size()));
    }
}

/// The names of a type and its base types.
std::vector<std::string> ChainOf(const XReadTypes& types, const std::string& name) {
    std::vector<std::string> chain;
    if (const XReadType* const type = types.Find(name)) {
        chain.push_back(name);
        types.EachBase(*type, [&](const XReadType& base) { chain.push_back(base.head.Key()); });
    }
    return chain;
}

void VerifyValues(XVerification& verification, ILXType& type, const XReadType& expected, bool oneByOne) {
    const std::string who = expected.head.path;
    const auto row = verification.AskProperties(type, XElementKind::Type, who);
    if (!row) { return; }
    const std::string difference = LXDifference(LXRowOf(expected.head.values), AllTypes, *row, "GetProperties");
    verification.Findings().Check(difference.empty(), XRule::AgreeType, who + ": GetProperties()", difference);
    if (oneByOne) { verification.CompareProperties(type, XElementKind::Type, who, *row); }
}

void VerifyType(XVerification& verification, const XReadType& expected, bool oneByOne) {
    const std::string name = expected.head.Key();
    const XLXComPtr<ILXType> type = verification.AskType(name);
    verification.Findings().Check(static_cast<bool>(type), XRule::AgreeType, "GetType(" + LXQuoted(name) + ")",
                                  "there is no such type, although the array of all types contains it");
    if (type) {
        VerifyValues(verification, *type, expected, oneByOne);
        const auto components = verification.AskComponents(*type, name, XVerification::AllInBulk);
        const std::string difference = components ? DifferenceOf(expected.components, components->content) : "";
        if (components) {
            verification.Findings().Check(difference.empty(), XRule::AgreeComponents,
                                          expected.head.path + ": GetTypeComponentData(15)", difference);
        }
    }
    for (const LONG mode : {1, 2, 4, 8}) {
        if (const auto part = type && oneByOne ? verification.AskComponents(*type, name, mode) : std::nullopt) {
            const std::string difference = DifferenceOf(expected.components, part->content);
            verification.Findings().Check(difference.empty(), XRule::AgreeComponents,
                                          expected.head.path + ": GetTypeComponentData(" + std::to_string(mode) + ")",
                                          difference);
        }
    }
    const std::string call = "GetTypeArrayByTypeNameEx(" + LXQuoted(name);
    if (const auto alone = verification.AskNamedType(name, false, XVerification::AllInBulk, XWanted::Answer)) {
        CompareRecords(verification, XRule::AgreeNamed, call + ", 0, 15)", {name}, *alone, true);
    }
    if (const auto chain = verification.AskNamedType(name, true, XVerification::AllInBulk, XWanted::Answer)) {
        CompareRecords(verification, XRule::AgreeBases, call + ", 1, 15)", ChainOf(*verification.types, name), *chain,
                       false);
    }
}

/// Compares the names in an enumeration of types with the expected ones.
void VerifyListed(XVerification& verification, const XAnswered<ILXTypeEnum>& answer, bool searchable) {
    if (!answer.IsOffered()) { return; }
    std::multiset<std::string> expected;
    for (const XReadType& type : verification.types->records) {
        if (type.listed && (!searchable || type.searchable)) { expected.insert(type.head.Key()); }
    }
    std::multiset<std::string> came;
    for (const auto& type : verification.AskAll<ILXType>(answer)) {
        came.insert(verification.AskKey(*type, XElementKind::Type, answer.call));
    }
    std::vector<std::string> differing;
    std::set_symmetric_difference(expected.begin(), expected.end(), came.begin(), came.end(),
                                  std::back_inserter(differing));
    verification.Findings().Check(differing.empty(), XRule::AgreeListed, answer.call,
                                  differing.empty() ? "" : "differs in type " + LXQuoted(differing.front()));
}
} // namespace

void LXVerifyTypes(XVerification& verification) {
    if (!verification.types) { return; }
    std::vector<std::string> names;
    std::size_t asked = 0;
    for (const XReadType* const type : verification.sample) {
        VerifyType(verification, *type, asked++ < 3);
        if (names.size() < 3) { names.push_back(type->head.Key()); }
    }
    if (!names.empty()) {
        if (const auto list = verification.AskTypeList(names, false, XVerification::AllInBulk)) {
            CompareRecords(verification, XRule::AgreeList, "GetTypeArrayByTypeNameArrayEx(without bases)", names, *list,
                           true);
        }
        if (const auto list = verification.AskTypeList(names, true, XVerification::AllInBulk)) {
            std::vector<std::string> chains;
            for (const std::string& name : names) {
                const std::vector<std::string> chain = ChainOf(*verification.types, name);
                chains.insert(chains.end(), chain.begin(), chain.end());
            }
            CompareRecords(verification, XRule::AgreeList, "GetTypeArrayByTypeNameArrayEx(with bases)", chains, *list,
                           false);
        }
    }
    VerifyListed(verification,
                 verification.Ask<ILXTypeEnum>(
                     XWanted::Answer, "GetTypeEnum", "",
                     [&](ILXTypeEnum** out) { return verification.Factory().GetTypeEnum(nullptr, out); }),
                 false);
    VerifyListed(verification,
                 verification.Ask<ILXTypeEnum>(
                     XWanted::AnswerIfOffered, "GetSearchableTypeEnum", "",
                     [&](ILXTypeEnum** out) { return verification.Factory().GetSearchableTypeEnum(out); }),
                 true);
}

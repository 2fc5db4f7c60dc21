// SPDX-License-Identifier: MIT
//
// Rules for the bulk reads: the arrays, and the names and values in them.
#include "XVerification.h"

#include <algorithm>

namespace {
/// Checks the records of one owner, and their sub-records.
void JudgeList(XFindings& findings, const std::string& call, const std::vector<XReadRecord>& records) {
    std::set<std::string> keys;
    for (const XReadRecord& record : records) {
        const std::string where = call + ", " + record.path;
        LXJudgeValues(record.kind, record.values, findings, where);
        findings.Check(keys.insert(record.Key()).second, XRule::NamesUnique, where,
                       "an earlier record has the same key");
        JudgeList(findings, call, record.types);
    }
}

void JudgeNames(XFindings& findings, const std::string& call, const XReadTypes& types) {
    std::map<std::string, ULONG> indexes;
    std::set<ULONG> named;
    for (const auto& [name, index] : types.names) {
        findings.Check(indexes.emplace(name, index).second, XRule::NamesUnique, call,
                       "the name " + LXQuoted(name) + " occurs twice");
        findings.Check(named.insert(index).second, XRule::NamesMatch, call,
                       "two names have the index " + std::to_string(index));
    }
    std::set<ULONG> used;
    for (const XReadType& type : types.records) {
        const auto found = indexes.find(type.head.Key());
        findings.Check(found != indexes.end() && found->second == type.index && used.insert(type.index).second,
                       XRule::NamesMatch, call + ", " + type.head.path,
                       "its record has the index " + std::to_string(type.index) + ", its name " +
                           (found != indexes.end() ? "the index " + std::to_string(found->second) : "none"));
    }
}

/// Checks the base types. Returns the name of the base type for each type; empty if it has none.
std::map<std::string, std::string> JudgeBases(XFindings& findings, const std::string& call, const XReadTypes& types) {
    std::map<std::string, std::string> bases;
    for (const XReadType& type : types.records) {
        const std::string base = type.head.Text(XProperty::BaseTypeName);
        const XReadType* const found = types.Find(base);
        const bool right = base.empty()
                               ? type.base == -1
                               : found != nullptr && type.base >= 0 && static_cast<ULONG>(type.base) == found->index;
        findings.Check(right, XRule::BaseExists, call + ", " + type.head.path,
                       "value 2 names the base type " + LXQuoted(base) +
                           (base.empty() || found != nullptr ? "" : ", which is not in the array") +
                           "; the index of the base type is " + std::to_string(type.base));
        bases.emplace(type.head.Key(), base);
    }
    return bases;
}

void JudgeCircles(XFindings& findings, const std::string& call, const std::map<std::string, std::string>& bases) {
    for (const auto& [name, base] : bases) {
        std::set<std::string> met{name};
        auto next = bases.find(base);
        while (next != bases.end() && met.insert(next->first).second) {
            next = bases.find(next->second);
        }
        findings.Check(next == bases.end(), XRule::BaseCircle, call + ", type " + LXQuoted(name),
                       "its base types lead back to " + (next == bases.end() ? "" : LXQuoted(next->first)));
    }
}

void JudgeTypes(XFindings& findings, const std::string& call, const XReadTypes& types) {
    std::vector<XReadRecord> heads;
    for (const XReadType& type : types.records) {
        heads.push_back(type.head);
        for (const XReadList& list :
             {type.components.pages, type.components.groups, type.components.editors, type.components.attributes}) {
            if (list) { JudgeList(findings, call, *list); }
        }
    }
    JudgeList(findings, call, heads);
    JudgeNames(findings, call, types);
    JudgeCircles(findings, call, JudgeBases(findings, call, types));
}

/// Checks relations. Their key has three properties instead of a name.
void JudgeRelations(XFindings& findings, const std::vector<XReadRecord>& relations) {
    std::set<std::string> met;
    for (const XReadRecord& relation : relations) {
        const std::string name = LXQuoted(relation.Text(XProperty::ParentName)) + " to " +
                                 LXQuoted(relation.Text(XProperty::ChildName)) + " in " +
                                 LXQuoted(relation.Text(XProperty::ChildList));
        const std::string where = "GetPCArray(), relation of " + name;
        LXJudgeValues(relation.kind, relation.values, findings, where);
        findings.Check(met.insert(name).second, XRule::NamesUnique, where, "an earlier record has the same key");
    }
}

/// An evenly distributed sample of the types.
std::vector<const XReadType*> SampleOf(const XReadTypes& types, std::size_t most) {
    std::vector<const XReadType*> sample;
    const std::size_t count = std::min(types.records.size(), most);
    for (std::size_t i = 0; i < count; ++i) {
        sample.push_back(&types.records[i * types.records.size() / count]);
    }
    return sample;
}
} // namespace

void LXVerifyBulkReads(XVerification& verification) {
    if (verification.Bulk() == nullptr) {
        verification.Findings().Broken(XRule::Offered, "QueryInterface(ILXConfigFactoryEx)", "there is none");
        return;
    }
    for (const LONG mode : {0, 1, 2, 4, 8}) {
        if (const auto types = verification.AskTypes(mode)) {
            JudgeTypes(verification.Findings(), "GetTypeArrayEx(" + std::to_string(mode) + ")", *types);
        }
    }
    verification.types = verification.AskTypes(XVerification::AllInBulk);
    if (verification.types) {
        JudgeTypes(verification.Findings(), "GetTypeArrayEx(15)", *verification.types);
        verification.sample = SampleOf(*verification.types, verification.Options().types);
    }
    verification.relations = verification.AskRelations();
    if (verification.relations) { JudgeRelations(verification.Findings(), verification.relations->content); }
}

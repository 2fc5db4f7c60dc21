// SPDX-License-Identifier: MIT
//
// Rules for relations, in bulk and one by one, PC infos, browser ids and format specs.
#include "XVerification.h"

#include <algorithm>

namespace {
constexpr std::size_t MostRelations = 100; // number of relations whose PC infos are read

using Relations = std::vector<XReadRecord>;

std::string Identity(const XRow& row) {
    const auto at = [&](int index) {
        const auto place = static_cast<std::size_t>(index);
        return place < row.size() ? row[place] : std::string("no value");
    };
    return at(XProperty::ParentName) + " to " + at(XProperty::ChildName) + " in " + at(XProperty::ChildList);
}

/// Compares an enumeration of relations with the relations of the array that meet a condition.
template <class Takes> void VerifyEnumeration(XVerification& verification, const std::string& parent, Takes&& takes) {
    const auto answer = verification.Ask<ILXParentChildEnum>(
        XWanted::AnswerIfOffered, "GetParentChildEnum", LXQuoted(parent), [&](ILXParentChildEnum** out) {
            return verification.Factory().GetParentChildEnum(LXBstr(parent).Get(), nullptr, out);
        });
    std::multiset<XRow> expected;
    std::multiset<XRow> came;
    for (const auto& relation : verification.AskAll<ILXParentChild>(answer)) {
        const auto row = verification.AskProperties(*relation, XElementKind::Relation, "a relation of " + answer.call);
        came.insert(row.value_or(XRow()));
    }
    for (const XReadRecord& relation : verification.relations ? verification.relations->content : Relations()) {
        if (!takes(relation)) { continue; }
        const auto row = expected.insert(LXRowOf(relation.values));
        verification.JudgeMissing(relation, came.contains(*row), answer.call);
    }
    if (!answer.IsOffered()) { return; }
    std::vector<XRow> differing;
    std::set_symmetric_difference(expected.begin(), expected.end(), came.begin(), came.end(),
                                  std::back_inserter(differing));
    verification.Findings().Check(
        differing.empty(), XRule::AgreeRelations, answer.call,
        differing.empty() ? "" : "differs from GetPCArray in the relation of " + Identity(differing.front()));
}

/// Verifies the PC infos of a relation: enumeration and look-up by browser. If a browser has two, either may be found.
void VerifyInfos(XVerification& verification, const XReadRecord& record) {
    const XLXComPtr<IUnknown> object(record.object);
    const XLXComPtr<ILXParentChild> relation = object.As<ILXParentChild>();
    if (!relation) { return; }
    const std::string who = "the relation of " + Identity(LXRowOf(record.values));
    const auto answer =
        verification.Ask<ILXPCInfoEnum>(XWanted::AnswerIfOffered, "GetPCInfoEnum", who,
                                        [&](ILXPCInfoEnum** out) { return relation->GetPCInfoEnum(out); });
    std::map<std::string, std::set<XRow>> infos;
    for (const auto& info : verification.AskAll<ILXPCInfo>(answer)) {
        const std::string browser = verification.AskKey(*info, XElementKind::PCInfo, who);
        if (const auto row = verification.AskProperties(*info, XElementKind::PCInfo, who)) {
            infos[browser].insert(*row);
        }
    }
    for (const auto& [name, rows] : infos) {
        const std::string& browser = name;
        const auto found = verification.Ask<ILXPCInfo>(
            XWanted::AnswerIfOffered, "GetPCInfo", who + ", " + LXQuoted(browser),
            [&](ILXPCInfo** out) { return relation->GetPCInfo(LXBstr(browser).Get(), out); });
        if (!found.IsOffered()) { continue; }
        const auto row =
            found.Has() ? verification.AskProperties(*found.object, XElementKind::PCInfo, who) : std::nullopt;
        verification.Findings().Check(row && rows.contains(*row), XRule::AgreeRelations, found.call,
                                      "it is not the PC info that GetPCInfoEnum returns");
    }
}

/// Verifies named objects that are available only by enumeration.
template <class I, class E>
void VerifyNamed(XVerification& verification, XElementKind kind, const XAnswered<E>& answer) {
    std::set<std::string> names;
    for (const auto& object : verification.AskAll<I>(answer)) {
        if (!verification.AskProperties(*object, kind, answer.call)) { continue; }
        const std::string name = verification.AskKey(*object, kind, answer.call);
        verification.Findings().Check(names.insert(name).second, XRule::NamesUnique, answer.call,
                                      "there are two " + std::string(LXKindName(kind)) + "s " + LXQuoted(name));
    }
}
} // namespace

void LXVerifyRelations(XVerification& verification) {
    VerifyEnumeration(verification, "", [](const XReadRecord&) { return true; });
    if (verification.relations) {
        const Relations& relations = verification.relations->content;
        for (std::size_t i = 0; i < std::min(relations.size(), MostRelations); ++i) {
            LXVerifyRecordObject<ILXParentChild>(verification, relations[i]);
            VerifyInfos(verification, relations[i]);
        }
        if (!relations.empty()) {
            const std::string parent = relations.front().Text(XProperty::ParentName);
            VerifyEnumeration(verification, parent, [&](const XReadRecord& relation) {
                return relation.Text(XProperty::ParentName) == parent;
            });
        }
    }
    VerifyNamed<ILXBrowserId>(
        verification, XElementKind::BrowserId,
        verification.Ask<ILXBrowserIdEnum>(XWanted::AnswerIfOffered, "GetBrowserIdEnum", "",
                                           [&](auto** out) { return verification.Factory().GetBrowserIdEnum(out); }));
    VerifyNamed<ILXGlobalAttributeFormatSpec>(
        verification, XElementKind::GlobalSpec,
        verification.Ask<ILXGlobalAttributeFormatSpecEnum>(
            XWanted::AnswerIfOffered, "GetAllGlobalAttributeFormatSpecs", "",
            [&](auto** out) { return verification.Factory().GetAllGlobalAttributeFormatSpecs(out); }));
}

// SPDX-License-Identifier: MIT
//
// The state of a server, from its bulk reads and enumerations, for comparison with another state.
#include "XVerification.h"

namespace {
XStateEntry EntryOf(XElementKind kind, XRow row) {
    switch (kind) {
    case XElementKind::Attribute: return {XAspect::TypeAttributes, XAspect::AttributeValues, std::move(row)};
    case XElementKind::AttributeType: return {XAspect::AttributeTypes, XAspect::AttributeTypeValues, std::move(row)};
    case XElementKind::Page: return {XAspect::TypePages, XAspect::PageValues, std::move(row)};
    case XElementKind::Group: return {XAspect::TypeGroups, XAspect::GroupValues, std::move(row)};
    case XElementKind::Editor: return {XAspect::TypeEditors, XAspect::EditorValues, std::move(row)};
    case XElementKind::Relation: return {XAspect::Relations, XAspect::RelationValues, std::move(row)};
    case XElementKind::BrowserId: return {XAspect::BrowserIdValues, XAspect::BrowserIdValues, std::move(row)};
    case XElementKind::GlobalSpec: return {XAspect::Specs, XAspect::SpecValues, std::move(row)};
    default: return {XAspect::TypeMap, XAspect::TypeValues, std::move(row)};
    }
}

void Add(XState& state, const XReadRecord& record) {
    state.emplace(record.path, EntryOf(record.kind, LXRowOf(record.values)));
    for (const XReadRecord& type : record.types) {
        Add(state, type);
    }
}

void Add(XState& state, const XReadTypes& types) {
    for (const XReadType& type : types.records) {
        Add(state, type.head);
        const std::string facts = (type.listed ? "listed" : "") + std::string(type.searchable ? " searchable" : "") +
                                  " " + type.head.Text(XProperty::BaseTypeName);
        state.emplace(type.head.path + ", record", XStateEntry{XAspect::TypeMap, XAspect::TypeMap, {facts}});
        for (const XReadList& list :
             {type.components.pages, type.components.groups, type.components.editors, type.components.attributes}) {
            for (const XReadRecord& part : list.value_or(std::vector<XReadRecord>())) {
                Add(state, part);
            }
        }
    }
}

template <class I, class E>
void Add(XVerification& verification, XState& state, XElementKind kind, const XAnswered<E>& answer) {
    for (const auto& object : verification.AskAll<I>(answer)) {
        if (const auto row = verification.AskProperties(*object, kind, answer.call)) {
            const std::string name = row->empty() ? "" : row->front();
            state.emplace(std::string(LXKindName(kind)) + " " + name, EntryOf(kind, *row));
        }
    }
}

/// Whether an element is part of an element that the other state does not contain either.
bool BelongsToOneOf(const std::string& path, const XState& other) {
    for (auto comma = path.find(", "); comma != std::string::npos; comma = path.find(", ", comma + 1)) {
        if (!other.contains(path.substr(0, comma))) { return path.starts_with("type "); }
    }
    return false;
}
} // namespace

std::optional<XState> LXStateOf(XVerification& verification) {
    const auto types = verification.AskTypes(XVerification::AllInBulk);
    if (!types) { return {}; }
    XState state;
    Add(state, *types);
    if (const auto relations = verification.AskRelations()) {
        for (const XReadRecord& relation : relations->content) {
            const XRow row = LXRowOf(relation.values);
            state.emplace("relation of " + relation.Text(XProperty::ParentName) + " to " +
                              relation.Text(XProperty::ChildName) + " in " + relation.Text(XProperty::ChildList),
                          EntryOf(relation.kind, row));
        }
    }
    Add<ILXBrowserId>(
        verification, state, XElementKind::BrowserId,
        verification.Ask<ILXBrowserIdEnum>(XWanted::AnswerIfOffered, "GetBrowserIdEnum", "",
                                           [&](auto** out) { return verification.Factory().GetBrowserIdEnum(out); }));
    Add<ILXGlobalAttributeFormatSpec>(
        verification, state, XElementKind::GlobalSpec,
        verification.Ask<ILXGlobalAttributeFormatSpecEnum>(
            XWanted::AnswerIfOffered, "GetAllGlobalAttributeFormatSpecs", "",
            [&](auto** out) { return verification.Factory().GetAllGlobalAttributeFormatSpecs(out); }));
    return state;
}

XAspectSet LXChanged(const XState& before, const XState& after) {
    XAspectSet changed;
    for (const auto& [path, entry] : before) {
        const auto found = after.find(path);
        if (found == after.end()) {
            if (!BelongsToOneOf(path, after)) { changed.Add(entry.set); }
        } else if (found->second.row != entry.row) {
            changed.Add(entry.values);
        }
    }
    for (const auto& [path, entry] : after) {
        if (!before.contains(path) && !BelongsToOneOf(path, before)) { changed.Add(entry.set); }
    }
    return changed;
}

std::string LXDifference(const XState& before, const XState& after) {
    for (const auto& [path, entry] : after) {
        const auto found = before.find(path);
        if (found == before.end()) { return path + " has come"; }
        if (const std::string values = LXDifference(found->second.row, "before", entry.row, "after"); !values.empty()) {
            return path + ", " + values;
        }
    }
    for (const auto& [path, entry] : before) {
        if (!after.contains(path)) { return path + " has gone"; }
    }
    return "nothing";
}

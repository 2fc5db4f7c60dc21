// SPDX-License-Identifier: MIT
//
// The rules for the values of an object.
#include "XBulkArrays.h"

#include <algorithm>

namespace {
/// A value that the cache reads, and the type that the cache expects.
struct ReadValue {
    enum Kind { Name, OptionalName, Number, Flag } kind;
    int index;
};

/// The values that the cache reads from objects of a kind.
struct KindFacts {
    XElementKind kind;
    const char* name;
    int key;
    std::size_t least; ///< smallest number of values
    bool exactly;
    std::vector<ReadValue> reads;
};

using enum ReadValue::Kind;

// clang-format off
const std::vector<KindFacts>& AllFacts() { // in the order of XElementKind
    static const std::vector<KindFacts> facts = {
        {XElementKind::Attribute, "attribute", XProperty::AttributeName, 60, true,
         {{Name, XProperty::AttributeName}, {Number, XProperty::AttributeGroup}, {Number, XProperty::Origin},
          {Flag, XProperty::ShowInBrowser}, {Flag, XProperty::ShowInEditor}, {Flag, XProperty::ShowInFinder},
          {Flag, XProperty::NotInFinder}, {Flag, XProperty::Printable}, {Flag, XProperty::InAvSet}}},
        {XElementKind::Format, "format", XProperty::AttributeName, 1, false, {}},
        {XElementKind::GlobalSpec, "format spec", XProperty::AttributeName, 1, false, {{Name, XProperty::AttributeName}}},
        {XElementKind::AttributeType, "attribute type", XProperty::AttributeTypeName, 7, true,
         {{Name, XProperty::AttributeTypeName}}},
        {XElementKind::BrowserId, "browser id", XProperty::BrowserIdName, 1, false, {{Name, XProperty::BrowserIdName}}},
        {XElementKind::Editor, "editor", XProperty::ProgId, 4, false,
         {{Name, XProperty::ProgId}, {OptionalName, XProperty::EditorBrowserId}, {Flag, XProperty::DefaultEditor},
          {Flag, XProperty::DefaultNewEditor}}},
        {XElementKind::Group, "group", XProperty::GroupNumber, 16, false,
         {{Number, XProperty::GroupNumber}, {Number, XProperty::GroupPage}, {Number, XProperty::ParentGroup}}},
        {XElementKind::Page, "page", XProperty::PageNumber, 7, false, {{Number, XProperty::PageNumber}}},
        {XElementKind::Relation, "relation", XProperty::ChildList, 21, false,
         {{Name, XProperty::ParentName}, {Name, XProperty::ChildName}, {OptionalName, XProperty::ChildList},
          {Flag, XProperty::SystemInternal}, {Number, XProperty::PPRRelationType}}},
        {XElementKind::PCInfo, "PC info", XProperty::PCInfoBrowser, 7, false,
         {{Name, XProperty::PCInfoBrowser}, {Flag, XProperty::PCInfoNew}}},
        {XElementKind::Type, "type", XProperty::TypeName, 3, false,
         {{Name, XProperty::TypeName}, {OptionalName, XProperty::BaseTypeName}, {Flag, XProperty::Searchable}}},
    };
    return facts;
}
// clang-format on

const KindFacts& FactsOf(XElementKind kind) { return AllFacts()[static_cast<std::size_t>(kind)]; }

bool IsOwn(const VARIANT& value) {
    const VARTYPE type = V_VT(&value);
    const VARTYPE element = type & static_cast<VARTYPE>(~VT_ARRAY);
    const bool known = LXIsScalar(element) || element == VT_BSTR || element == VT_UNKNOWN || element == VT_DISPATCH ||
                       element == VT_CY || element == VT_DATE || element == VT_ERROR || element == VT_VARIANT ||
                       element == VT_DECIMAL;
    return (type & VT_BYREF) == 0 && known && type != VT_VARIANT;
}

/// Whether the cache can read the value. Missing values are checked elsewhere.
bool IsOfKind(ReadValue::Kind kind, const VARIANT& value) {
    switch (kind) {
    case Name:
    case OptionalName: return V_VT(&value) == VT_BSTR || V_VT(&value) == VT_EMPTY;
    case Number: return LXIsNumber(value);
    default: return LXIsFlag(value);
    }
}

const char* KindText(ReadValue::Kind kind) {
    return kind == Number ? "a number" : kind == Flag ? "a boolean" : "a text";
}
} // namespace

const char* LXKindName(XElementKind kind) { return FactsOf(kind).name; }

int LXKeyOf(XElementKind kind) { return FactsOf(kind).key; }

void LXJudgeValues(XElementKind kind, std::span<const VARIANT> values, XFindings& findings, const std::string& where) {
    const KindFacts& facts = FactsOf(kind);
    const bool enough = facts.exactly ? values.size() == facts.least : values.size() >= facts.least;
    findings.Check(enough, XRule::ValueSlots, where,
                   std::to_string(values.size()) + " values; " + facts.name + "s have " +
                       (facts.exactly ? "" : "at least ") + std::to_string(facts.least));
    const auto foreign = std::find_if_not(values.begin(), values.end(), IsOwn);
    findings.Check(foreign == values.end(), XRule::OwnValues, where,
                   foreign == values.end()
                       ? ""
                       : "value " + std::to_string(foreign - values.begin()) + " is of " + LXTypeText(V_VT(&*foreign)));
    for (const ReadValue& read : facts.reads) {
        const auto at = static_cast<std::size_t>(read.index);
        if (at >= values.size()) { continue; }
        findings.Check(IsOfKind(read.kind, values[at]), XRule::ValueKinds, where,
                       "value " + std::to_string(at) + " should be " + KindText(read.kind) + ", is " +
                           LXValueText(values[at]));
        if (read.kind == Name) {
            const bool wrongKind = V_VT(&values[at]) != VT_BSTR && V_VT(&values[at]) != VT_EMPTY;
            findings.Check(wrongKind || !LXNameIn(values[at]).empty(), XRule::NamesPresent, where,
                           "value " + std::to_string(at) + ", the name, is " + LXValueText(values[at]));
        }
    }
}

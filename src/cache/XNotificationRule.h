// SPDX-License-Identifier: MIT
//
// The table of which change notification makes which aspects stale.
#ifndef XNOTIFICATIONRULE_H
#define XNOTIFICATIONRULE_H

#include "XAspect.h"
#include "XDataId.h"

/// When an aspect is concerned by one kind of notification: never, always, or with these mode bits (or a mode below 1).
class XWhen {
public:
    constexpr XWhen(LONG bits) noexcept : m_bits(bits) {}
    static constexpr LONG Always = -1;
    static constexpr LONG Never = 0;

    constexpr bool Concerns(LONG mode) const noexcept {
        return m_bits == Always || (m_bits != Never && LXModeConcerns(mode, m_bits));
    }

private:
    LONG m_bits;
};

/// The kind that an aspect assumes for a data id without "/".
enum class XKindOfBareId : unsigned char {
    None,    ///< no kind
    WholeId, ///< the id itself, such as "objects"
};

struct XAspectRule {
    XAspect aspect;
    const char* name; ///< for traces
    XKindOfBareId bareId;
    XWhen objects;
    XWhen properties;
    XWhen pc;
    XWhen searchable;
    XWhen other;
};

namespace XNotificationRule {
using enum XKindOfBareId;
using enum XAspect;
constexpr LONG Always = XWhen::Always;
constexpr LONG Never = XWhen::Never;

constexpr LONG E = LXUM_EVERYTHING;
constexpr LONG T = LXUM_TYPES;
constexpr LONG R = LXUM_PARENTCHILD;
constexpr LONG B = LXUM_BROWSERIDS;
constexpr LONG F = LXUM_FORMATS;
constexpr LONG S = LXUM_GLOBALFORMATSPECS;
constexpr LONG A = LXUM_ATTRIBUTES;
constexpr LONG AT = LXUM_ATTRIBUTETYPES;
constexpr LONG AF = LXUM_ATTRIBUTEFORMATS;
constexpr LONG GF = LXUM_GROUPFORMATS;

// The bit sets differ on purpose; programs and servers rely on each of them.
// clang-format off
inline constexpr XAspectRule Table[LXAspectCount] = {
    // aspect             name                                bare id  "objects"        "properties"       "pc"      "searchable" other
    {TypeMap,             "type map",                         None,    E | T,           Never,             Never,    Always,      Never},
    {TypeValues,          "type values",                      WholeId, E | T,           E | T,             Never,    Never,       Never},
    {TypeAttributes,      "attributes",                       WholeId, E | T | A,       Never,             Never,    Never,       Never},
    {TypePages,           "pages",                            WholeId, E | T | LXUM_PAGES,   Never,        Never,    Never,       Never},
    {TypeGroups,          "groups",                           WholeId, E | T | LXUM_GROUPS,  Never,        Never,    Never,       Never},
    {TypeEditors,         "editors",                          WholeId, E | T | LXUM_EDITORS, Never,        Never,    Never,       Never},
    {AttributeValues,     "attribute values",                 WholeId, Always,          E | A,             Never,    E | A,       E | A},
    {AttributeTypes,      "attribute types",                  WholeId, E | T | A | AT,  Never,             Never,    Never,       Never},
    {AttributeTypeValues, "attribute type values",            WholeId, Always,          E | A | AT,        Never,    E | A | AT,  E | A | AT},
    {AttributeFormats,    "attribute formats",                WholeId, E | T | A | AF,  Never,             Never,    Never,       Never},
    {GroupFormats,        "group formats",                    WholeId, E | T | LXUM_GROUPS | GF, Never,    Never,    Never,       Never},
    {SpecFormats,         "global format spec formats",       WholeId, E | S,           Never,             Never,    Never,       Never},
    {FormatValues,        "format values",                    WholeId, Always,          E | F | S | AF | GF, Never,  Never,       Never},
    {PageValues,          "page values",                      WholeId, Always,          E | LXUM_PAGES,    Never,    Never,       Never},
    {GroupValues,         "group values",                     WholeId, Always,          E | LXUM_GROUPS,   Never,    Never,       Never},
    {EditorValues,        "editor values",                    WholeId, Always,          E | B | LXUM_EDITORS, Never, Never,       Never},
    {BrowserIdValues,     "browser id values",                WholeId, Always,          E | B,             Always,   Never,       Never},
    {Specs,               "global format specs",              None,    E | S | F,       Never,             Never,    Never,       Never},
    {SpecValues,          "global format spec values",        WholeId, Always,          E | S,             Never,    Never,       Never},
    {Relations,           "relations",                        WholeId, E | R,           Never,             Always,   Never,       Never},
    {RelationValues,      "relation values",                  WholeId, Always,          E | R,             Always,   Never,       Never},
    {PCInfos,             "PC infos",                         WholeId, E | R | B,       Never,             Always,   Never,       Never},
    {PCInfoValues,        "PC info values",                   WholeId, Always,          E | R | B,         Always,   Never,       Never},
    {PlanTypes,           "plan types",                       None,    E | T | R,       Never,             E | T | R, Never,      Never},
};
// clang-format on

constexpr bool IsInOrder() noexcept {
    for (std::size_t i = 0; i < LXAspectCount; ++i) {
        if (static_cast<std::size_t>(Table[i].aspect) != i) { return false; }
    }
    return true;
}
static_assert(IsInOrder(), "a row for each aspect, in their order");

constexpr const char* NameOf(XAspect aspect) noexcept { return Table[static_cast<std::size_t>(aspect)].name; }

constexpr XWhen When(const XAspectRule& row, LXDataIdKind kind) noexcept {
    switch (kind) {
    case LXDataIdKind::Objects: return row.objects;
    case LXDataIdKind::Properties: return row.properties;
    case LXDataIdKind::ParentChild: return row.pc;
    case LXDataIdKind::Searchable: return row.searchable;
    default: return row.other;
    }
}

/// The aspects that a notification makes stale.
/// @param mode  the update mode, as translated by the manager's strategy
constexpr XAspectSet Concerned(const XDataId& id, LONG mode) noexcept {
    XAspectSet concerned;
    for (const XAspectRule& row : Table) {
        if ((id.hasKind || row.bareId == WholeId) && When(row, id.kind).Concerns(mode)) { concerned.Add(row.aspect); }
    }
    return concerned;
}
} // namespace XNotificationRule

/// A notification that came directly to a cached object. It concerns the object and the parts that it owns.
struct XDirectNotification {
    XAspectSet concerned;
    bool relationsOnly;   ///< kind "pc": concerns only relations and their PC infos
    std::uint64_t number; ///< drawn from the clock
};

/// Writes a trace entry for each aspect that a notification made stale, if such entries are enabled. Must not be called
/// while a lock of the component is held.
void LXTraceInvalidated(const XAspectSet& aspects) noexcept;

#endif

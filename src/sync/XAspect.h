// SPDX-License-Identifier: MIT
#ifndef XASPECT_H
#define XASPECT_H

#include <cstddef>
#include <cstdint>

/// What a change notification can make stale. The rule which notification concerns which aspect is the table in
/// XNotificationRule.h.
enum class XAspect : unsigned char {
    TypeMap,             ///< which types there are, with their bases
    TypeValues,          ///< the values of types
    TypeAttributes,      ///< which attributes a type has
    TypePages,           ///< which pages a type has
    TypeGroups,          ///< which groups a type has
    TypeEditors,         ///< which editors a type has
    AttributeValues,     ///< the values of attributes, and what follows from them
    AttributeTypes,      ///< which attribute types an attribute has
    AttributeTypeValues, ///< the values of attribute types
    AttributeFormats,    ///< which formats an attribute has
    GroupFormats,        ///< whether a group has a format
    SpecFormats,         ///< which formats a global format spec has
    FormatValues,        ///< the values of formats
    PageValues,          ///< the values of pages
    GroupValues,         ///< the values of groups
    EditorValues,        ///< the values of editors
    BrowserIdValues,     ///< the values of browser ids
    Specs,               ///< which global format specs there are
    SpecValues,          ///< the values of global format specs
    Relations,           ///< which relations there are
    RelationValues,      ///< the values of relations
    PCInfos,             ///< which PC infos a relation has
    PCInfoValues,        ///< the values of PC infos
    PlanTypes            ///< the plan types
};

constexpr std::size_t LXAspectCount = static_cast<std::size_t>(XAspect::PlanTypes) + 1;

/// A set of aspects.
class XAspectSet {
public:
    constexpr XAspectSet() noexcept = default;
    template <class... More>
    constexpr XAspectSet(XAspect first, More... more) noexcept : m_bits((BitOf(first) | ... | BitOf(more))) {}

    static constexpr XAspectSet All() noexcept {
        XAspectSet all;
        all.m_bits = (std::uint32_t{1} << LXAspectCount) - 1;
        return all;
    }

    constexpr bool Has(XAspect aspect) const noexcept { return (m_bits & BitOf(aspect)) != 0; }
    constexpr void Add(XAspect aspect) noexcept { m_bits |= BitOf(aspect); }

    /// Calls visit(aspect) for each aspect of the set, in order.
    template <class Visit> constexpr void ForEach(Visit&& visit) const {
        for (std::size_t i = 0; i < LXAspectCount; ++i) {
            if (const auto aspect = static_cast<XAspect>(i); Has(aspect)) { visit(aspect); }
        }
    }

private:
    static constexpr std::uint32_t BitOf(XAspect aspect) noexcept {
        return std::uint32_t{1} << static_cast<unsigned>(aspect);
    }

    std::uint32_t m_bits = 0;
};

static_assert(LXAspectCount < 32);

#endif

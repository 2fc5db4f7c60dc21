// SPDX-License-Identifier: MIT
#ifndef XASPECT_H
#define XASPECT_H

#include <cstddef>
#include <cstdint>

/// What a change notification can make stale. The table in XNotificationRule.h says which notification concerns which
/// aspect.
enum class XAspect : unsigned char {
    TypeMap,             ///< the set of types, and their bases
    TypeValues,          ///< the values of types
    TypeAttributes,      ///< the set of a type's attributes
    TypePages,           ///< the set of a type's pages
    TypeGroups,          ///< the set of a type's groups
    TypeEditors,         ///< the set of a type's editors
    AttributeValues,     ///< the values of attributes, and what is derived from them
    AttributeTypes,      ///< the set of an attribute's types
    AttributeTypeValues, ///< the values of attribute types
    AttributeFormats,    ///< the set of an attribute's formats
    GroupFormats,        ///< the format of a group
    SpecFormats,         ///< the set of a global format spec's formats
    FormatValues,        ///< the values of formats
    PageValues,          ///< the values of pages
    GroupValues,         ///< the values of groups
    EditorValues,        ///< the values of editors
    BrowserIdValues,     ///< the values of browser ids
    Specs,               ///< the set of global format specs
    SpecValues,          ///< the values of global format specs
    Relations,           ///< the set of relations
    RelationValues,      ///< the values of relations
    PCInfos,             ///< the set of a relation's PC infos
    PCInfoValues,        ///< the values of PC infos
    PlanTypes            ///< the plan types
};

constexpr std::size_t LXAspectCount = static_cast<std::size_t>(XAspect::PlanTypes) + 1;

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

    /// Calls visit(aspect) for each aspect of the set, in enum order.
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

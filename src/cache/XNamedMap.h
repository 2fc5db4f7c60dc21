// SPDX-License-Identifier: MIT
#ifndef XNAMEDMAP_H
#define XNAMEDMAP_H

#include "XCFGStringKey.h"
#include "XSortedMap.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>

/// A sorted map by name, or by several names together, that finds an entry by their hash: names that are alike take
/// long to compare, and a search among sorted ones compares many of them.
/// @tparam Key  its Views() are the names
template <class T, class Key = XCFGStringKey>
class XNamedMap : public XSortedMap<Key, T>
{
public:
    using Names = decltype(std::declval<const Key&>().Views());
    using const_iterator = typename XSortedMap<Key, T>::const_iterator;

    /// Looks among the settled entries.
    const_iterator find(const Names& names) const
    {
        const std::uint32_t place = m_places.empty() ? 0 : m_places[PlaceOf(names)];
        return place != 0 ? this->begin() + (place - 1) : this->end();
    }
    const_iterator find(const Key& key) const { return find(key.Views()); }
    const_iterator find(XLXTextView name) const { return find(Names{name}); }

    /// Settles what was added, as in every sorted map.
    void Settle()
    {
        XSortedMap<Key, T>::Settle();
        m_places.assign(std::bit_ceil(2 * this->size()), 0);
        std::uint32_t place = 0;
        for (const auto& [key, value] : *this)
        {
            m_places[PlaceOf(key.Views())] = ++place;
        }
    }

private:
    /// Where the place of the names stands in the table, or would stand.
    std::size_t PlaceOf(const Names& names) const
    {
        const std::size_t mask = m_places.size() - 1;
        std::size_t hash = 0;
        for (const XLXTextView name : names)
        {
            hash = hash * 31 + std::hash<XLXTextView>()(name);
        }
        std::size_t at = hash & mask;
        while (m_places[at] != 0 && !AreSame(this->begin()[m_places[at] - 1].first.Views(), names))
        {
            at = (at + 1) & mask;
        }
        return at;
    }
    static bool AreSame(const Names& left, const Names& right) noexcept
    {
        return std::equal(left.begin(), left.end(), right.begin(), [](XLXTextView one, XLXTextView other) {
            return one.size() == other.size() &&
                   (one.empty() || std::memcmp(one.data(), other.data(), one.size() * sizeof(OLECHAR)) == 0);
        });
    }

    /// A power of two of them, at most half of them used: an entry's number in the order of the keys, from 1 on.
    std::vector<std::uint32_t> m_places;
};

#endif

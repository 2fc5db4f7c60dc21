// SPDX-License-Identifier: MIT
#ifndef XNAMEDMAP_H
#define XNAMEDMAP_H

#include "XCFGStringKey.h"
#include "XSortedMap.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>

/// A sorted map by name that finds entries by the hash of their names. A binary search would compare many names, and
/// comparing names with long common prefixes is slow.
template <class T> class XNamedMap : public XSortedMap<XCFGStringKey, T> {
public:
    using const_iterator = typename XSortedMap<XCFGStringKey, T>::const_iterator;

    const_iterator find(XLXTextView name) const {
        const std::uint32_t place = m_places.empty() ? 0 : m_places[PlaceOf(name)];
        return place != 0 ? this->begin() + (place - 1) : this->end();
    }
    const_iterator find(const XCFGStringKey& key) const { return find(key.Text()); }

    /// Sorts the added entries into the map, as XSortedMap does, and rebuilds the hash table.
    void Settle() {
        XSortedMap<XCFGStringKey, T>::Settle();
        m_places.assign(std::bit_ceil(2 * this->size()), 0);
        std::uint32_t place = 0;
        for (const auto& [key, value] : *this) {
            m_places[PlaceOf(key.Text())] = ++place;
        }
    }

private:
    /// The index in m_places of the entry with this name, or the free index where it would be inserted.
    std::size_t PlaceOf(XLXTextView name) const {
        const std::size_t mask = m_places.size() - 1;
        std::size_t at = std::hash<XLXTextView>()(name) & mask;
        while (m_places[at] != 0 && !IsNamed(this->begin()[m_places[at] - 1], name)) {
            at = (at + 1) & mask;
        }
        return at;
    }
    static bool IsNamed(const auto& entry, XLXTextView name) noexcept {
        const XLXTextView own = entry.first.Text();
        return own.size() == name.size() &&
               (name.empty() || std::memcmp(own.data(), name.data(), name.size() * sizeof(OLECHAR)) == 0);
    }

    /// Open addressing: each element is an entry's position in key order plus 1, or 0. The size is a power of two, and
    /// at most half of the elements are used.
    std::vector<std::uint32_t> m_places;
};

#endif

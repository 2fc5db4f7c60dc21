// SPDX-License-Identifier: MIT
#ifndef XSORTEDMAP_H
#define XSORTEDMAP_H

#include <algorithm>
#include <utility>
#include <vector>

/// A map that is built once and then only read. Its entries are one sorted vector, so a copy is a single allocation and
/// iteration is sequential in memory.
///
/// Add appends in any order; lookups are valid only after Settle. Settle takes no longer than one sort, however many
/// entries were added.
template <class Key, class T> class XSortedMap {
public:
    using key_type = Key;
    using mapped_type = T;
    using value_type = std::pair<Key, T>;
    using const_iterator = typename std::vector<value_type>::const_iterator;

    const_iterator begin() const noexcept { return m_entries.begin(); }
    const_iterator end() const noexcept { return m_entries.end(); }
    std::size_t size() const noexcept { return m_entries.size(); }
    bool empty() const noexcept { return m_entries.empty(); }

    /// @tparam Like  the key type, or a type that compares with it
    template <class Like> const_iterator find(const Like& key) const {
        const auto found = std::lower_bound(begin(), end(), key,
                                            [](const value_type& entry, const Like& k) { return entry.first < k; });
        return found != end() && !(key < found->first) ? found : end();
    }

    /// Allocates room for this many entries.
    void Reserve(std::size_t entries) { m_entries.reserve(entries); }
    void Add(Key key, T value) { m_entries.emplace_back(std::move(key), std::move(value)); }
    /// Adds copies of all entries of another map.
    void Add(const XSortedMap& that) { m_entries.insert(m_entries.end(), that.begin(), that.end()); }

    /// Sorts the added entries into the map. Of entries with equal keys, the one added last stays.
    void Settle() {
        const auto added = std::is_sorted_until(m_entries.begin(), m_entries.end(), Less);
        std::stable_sort(added, m_entries.end(), Less);
        std::inplace_merge(m_entries.begin(), added, m_entries.end(), Less);
        DropOlder();
    }

private:
    static bool Less(const value_type& left, const value_type& right) { return left.first < right.first; }

    // The merge is stable, so the last of equal keys is the one that was added last.
    void DropOlder() {
        auto to = m_entries.begin();
        for (auto from = m_entries.begin(); from != m_entries.end(); ++from) {
            const auto next = from + 1;
            if (next != m_entries.end() && !Less(*from, *next)) { continue; }
            if (to != from) { *to = std::move(*from); }
            ++to;
        }
        m_entries.erase(to, m_entries.end());
    }

    std::vector<value_type> m_entries;
};

#endif

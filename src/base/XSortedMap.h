// SPDX-License-Identifier: MIT
#ifndef XSORTEDMAP_H
#define XSORTEDMAP_H

#include <algorithm>
#include <utility>
#include <vector>

/// A map that is made once and then read: its entries stand in one vector in key order, so that a copy is one
/// allocation and walking it runs through memory in a row.
///
/// Entries are added in any order. Nothing is looked for until Settle has brought them into theirs; that takes no
/// longer than sorting, however many are added.
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

    /// @tparam Like  the key, or what it compares with
    template <class Like> const_iterator find(const Like& key) const {
        const auto found = std::lower_bound(begin(), end(), key,
                                            [](const value_type& entry, const Like& k) { return entry.first < k; });
        return found != end() && !(key < found->first) ? found : end();
    }

    void Add(Key key, T value) { m_entries.emplace_back(std::move(key), std::move(value)); }

    /// Settles what was added. Of several entries of one key the one that was added last stays.
    void Settle() {
        const auto added = std::is_sorted_until(m_entries.begin(), m_entries.end(), Less);
        std::stable_sort(added, m_entries.end(), Less);
        std::inplace_merge(m_entries.begin(), added, m_entries.end(), Less);
        DropOlder();
    }

private:
    static bool Less(const value_type& left, const value_type& right) { return left.first < right.first; }

    // The merge is stable: of equal keys the last is the one that was added last.
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

// SPDX-License-Identifier: MIT
//
// The property store of a cached object: the values of the server, by property index.
#ifndef ASSOCIATIONS_H
#define ASSOCIATIONS_H

#include "XClock.h"
#include "XCritData.h"
#include "XVariantRow.h"

/// The values with their lock and their stamp. Writes exchange: the parameter receives the old value, so that the
/// caller destroys it with no lock held.
class XPropertyStore {
public:
    explicit XPropertyStore(std::size_t slots = 0) : m_data(XLockLevel::PropertyStore, slots) {}

    /// Copies a value into an empty variant. S_FALSE, with value left empty: the values are not fresh, or the stored
    /// value is VT_EMPTY. E_INVALIDARG: there is no such index. Sets no error information, because this runs inside a
    /// lock-free read.
    /// @param now  the clock's number of the values' aspect
    HRESULT Read(int index, XLXComVariant& value, std::uint64_t now) const;
    /// The same, fresh or not; S_FALSE also if no values were ever assigned with a stamp.
    HRESULT ReadStale(int index, XLXComVariant& value) const;
    /// Exchanges the value of an existing slot; E_INVALIDARG if there is none. Does not change the stamp.
    HRESULT Write(int index, XLXComVariant& value);
    /// Exchanges a value and adds missing slots. Does not change the stamp.
    void WriteGrow(int index, XLXComVariant& value);

    /// Calls work(values) under the lock; it must not call foreign code. The values stay as fresh as they were, but
    /// values that were requested before are older, so that they do not undo the change.
    template <class Work> void Change(Work&& work) {
        const XCritProxy<Stamped> store(m_data);
        work(store->values);
        const std::uint64_t own = m_own.Advance();
        if (store->stamp.own == own - 1) { store->stamp.own = own; }
    }

    /// Exchanges all values, unless the store has newer ones.
    /// @param onAssigned  called with the new values under the lock; must not call foreign code
    template <class OnAssigned> void Assign(XVariantRow& values, const XStamp& stamp, OnAssigned&& onAssigned) {
        const XCritProxy<Stamped> store(m_data);
        if (stamp.IsOlderThan(store->stamp)) { return; }
        onAssigned(static_cast<const XVariantRow&>(values));
        store->values.swap(values);
        store->stamp = stamp;
    }
    bool IsFresh(std::uint64_t now) const;

    /// Makes the values stale. Takes no lock.
    void Advance() noexcept { m_own.Advance(); }
    const XOwnCount& Own() const noexcept { return m_own; }

private:
    struct Stamped {
        explicit Stamped(std::size_t slots) : values(XLXVariantVector(slots)) {}
        bool Has(int index) const noexcept { return index >= 0 && static_cast<std::size_t>(index) < values.size(); }
        HRESULT Get(int index, XLXComVariant& value) const;

        XVariantRow values;
        XStamp stamp; // published together with the values
    };

    // Placed before the data, so that it shares no cache line with the word at the end of the data's lock. Each write
    // changes that word, and so does the first read after it.
    XOwnCount m_own;
    mutable XCritDataCFC<Stamped> m_data;
};

/// Raises E_INVALIDARG for an index that a store does not have.
[[noreturn]] void LXRaisePropertyIndex(int index);

#endif

// SPDX-License-Identifier: MIT
//
// The property store of a cached object: the values that the server gave, by property index.
#ifndef ASSOCIATIONS_H
#define ASSOCIATIONS_H

#include "XClock.h"
#include "XCritData.h"
#include "XVariantRow.h"

/// The values with their lock and their stamp. What a write replaces is left in the parameter, so that the caller
/// destroys it with no lock held.
class XPropertyStore {
public:
    explicit XPropertyStore(std::size_t slots = 0) : m_data(XLockLevel::PropertyStore, slots) {}

    /// Copies a value into an empty variant. S_FALSE, with value left empty: the values are not fresh, or the stored
    /// value is VT_EMPTY. E_INVALIDARG: there is no such index; no error information is set, since readers are inside
    /// a lock-free read.
    /// @param now  the clock's number of the values' aspect
    HRESULT Read(int index, XLXComVariant& value, std::uint64_t now) const;
    /// The same, fresh or not; S_FALSE also when no values were ever assigned with a stamp.
    HRESULT ReadStale(int index, XLXComVariant& value) const;
    /// Exchanges the value in a slot that exists; E_INVALIDARG otherwise.
    HRESULT Write(int index, XLXComVariant& value);
    /// Exchanges a value whether the slot exists or not; that makes no values fresh.
    void WriteGrow(int index, XLXComVariant& value);

    /// Exchanges all values, unless newer ones are there.
    /// @param onAssigned  called with the new values under the lock; calls nothing foreign
    template <class OnAssigned> void Assign(XVariantRow& values, const XStamp& stamp, OnAssigned&& onAssigned) {
        const XCritProxy<Stamped> store(m_data);
        if (stamp.IsOlderThan(store->stamp)) { return; }
        onAssigned(static_cast<const XVariantRow&>(values));
        store->values.swap(values);
        store->stamp = stamp;
    }
    bool IsFresh(std::uint64_t now) const;

    /// Makes the values stale. Waits for nobody.
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

    // The count stands before the data: readers that go in and out write the word at the end of the data's lock, and
    // what they only look at must not lie beside it.
    XOwnCount m_own;
    mutable XCritDataCFC<Stamped> m_data;
};

/// Raises the refusal of an index that a store does not have.
[[noreturn]] void LXRaisePropertyIndex(int index);

#endif

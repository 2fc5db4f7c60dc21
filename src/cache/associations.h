// SPDX-License-Identifier: MIT
//
// The property store of a cached object: the values that the server gave, by property index.
#ifndef ASSOCIATIONS_H
#define ASSOCIATIONS_H

#include "XBasicCritSection.h"
#include "XFilledFlag.h"
#include "XVariantRow.h"

/// The values, as readers see them.
class ROAssociations
{
public:
    explicit ROAssociations(std::size_t slots = 0) : m_values(XLXVariantVector(slots)) {}

    /// Copies a value into an empty variant. S_FALSE: the stored value is VT_EMPTY. E_INVALIDARG: there is no
    /// such index; no error information is set, since readers are inside a lock-free read.
    HRESULT Get(int index, XLXComVariant& value) const;

protected:
    bool InRange(int index) const noexcept
    {
        return index >= 0 && static_cast<std::size_t>(index) < m_values.size();
    }

    XVariantRow m_values;
};

/// The values, as writers see them.
class Associations : public ROAssociations
{
public:
    using ROAssociations::ROAssociations;

    /// Exchanges the value at an index; false when there is none.
    bool Swap(int index, XLXComVariant& value) noexcept;
    /// The same, where the store grows to have the index.
    void SwapGrow(int index, XLXComVariant& value);
    /// Exchanges all values. As many as before go where those were, so that a list's block has no gaps.
    void Swap(XVariantRow& values) noexcept;
};

/// The store with its lock and its filled flag. What a write replaces is left in the parameter, so that the
/// caller destroys it with no lock held.
class XPropertyStore
{
public:
    explicit XPropertyStore(std::size_t slots = 0);

    /// Reads a value. S_FALSE, with value left empty: the store is not filled, or the stored value is
    /// VT_EMPTY.
    HRESULT Read(int index, XLXComVariant& value) const;
    /// Exchanges the value in a slot that exists; E_INVALIDARG otherwise.
    HRESULT Write(int index, XLXComVariant& value);
    /// Exchanges a value whether the slot exists or not; the store does not count as filled by that.
    void WriteGrow(int index, XLXComVariant& value);

    /// What a filler notes before it asks the server.
    std::uint64_t Note() const noexcept { return m_filled.Note(); }
    /// Exchanges all values. They count as filled unless an invalidation came after the note.
    void Assign(XVariantRow& values, std::uint64_t noted);
    /// Makes the next read ask the server. Waits for nobody.
    void Invalidate() noexcept { m_filled.Invalidate(); }
    bool IsFilled() const noexcept { return m_filled.IsFilled(); }
    /// Changes with every invalidation.
    std::uint64_t Generation() const noexcept { return m_filled.Note(); }

private:
    // The flag stands before the data: readers that go in and out write the word at the end of the data's
    // lock, and what they only look at must not lie beside it.
    XFilledFlag m_filled;
    mutable XCritDataCFC<Associations> m_data;
};

/// Raises the refusal of an index that a store does not have.
[[noreturn]] void LXRaisePropertyIndex(int index);

#endif

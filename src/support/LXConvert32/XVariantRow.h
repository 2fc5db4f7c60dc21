// SPDX-License-Identifier: MIT
//
// XVariantRow owns the values of one object: variants in a row, in a block that may hold the rows of other objects
// too. So the values of a list of objects stay where the list was read, with no copy for each object.
//
// Ownership  A row owns its variants, and what they own goes with it. The block goes with its last row.
// Threading  One thread at a time for a row; rows of one block may belong to different threads.
#ifndef XVARIANTROW_H
#define XVARIANTROW_H

#include "XLXComVariant.h"

#include <algorithm>
#include <memory>
#include <span>

class XVariantRow {
public:
    XVariantRow() noexcept = default;
    /// Makes a block of its own of the values.
    XVariantRow(XLXVariantVector values) {
        if (!values.empty()) {
            const auto block = std::make_shared<XLXVariantVector>(std::move(values));
            m_values = *block;
            m_block = block;
        }
    }
    /// Takes over values in a block that others share.
    XVariantRow(std::shared_ptr<const void> block, std::span<XLXComVariant> values) noexcept
        : m_block(std::move(block)), m_values(values) {}
    XVariantRow(XVariantRow&& other) noexcept
        : m_block(std::move(other.m_block)), m_values(std::exchange(other.m_values, {})) {}
    ~XVariantRow() {
        if (m_block.use_count() > 1) { // the only row of a block leaves it to the block to clear the values
            for (XLXComVariant& value : m_values) {
                value.Put();
            }
        }
    }
    XVariantRow& operator=(XVariantRow other) noexcept {
        swap(other);
        return *this;
    }

    std::size_t size() const noexcept { return m_values.size(); }
    bool empty() const noexcept { return m_values.empty(); }
    XLXComVariant& operator[](std::size_t index) noexcept { return m_values[index]; }
    const XLXComVariant& operator[](std::size_t index) const noexcept { return m_values[index]; }
    auto begin() noexcept { return m_values.begin(); }
    auto end() noexcept { return m_values.end(); }

    /// Makes the row longer, with empty values, in a block of its own.
    void Grow(std::size_t size) {
        XLXVariantVector values(size);
        std::move(begin(), end(), values.begin());
        *this = XVariantRow(std::move(values));
    }

    void swap(XVariantRow& other) noexcept {
        m_block.swap(other.m_block);
        std::swap(m_values, other.m_values);
    }

private:
    std::shared_ptr<const void> m_block;
    std::span<XLXComVariant> m_values;
};

#endif

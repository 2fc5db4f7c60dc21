// SPDX-License-Identifier: MIT
#include "XVariantRow.h"

#include <algorithm>

namespace {
bool IsLongerThanAWord(VARTYPE type) noexcept {
    return type == VT_DECIMAL || type == VT_RECORD || type >= 0xFF; // such as references and arrays
}
} // namespace

XVariantRow::XVariantRow(std::span<XLXComVariant> values) {
    if (values.empty()) { return; }
    const auto filled = std::count_if(values.begin(), values.end(), [](const auto& value) { return !value.Empty(); });
    m_block = Made(values.size(), static_cast<std::size_t>(filled));
    std::uint8_t place = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].Empty()) { continue; }
        m_block->Members()[i].place = place++; // not used in a long row
        m_block->Exchange(i, values[i]);
    }
}

XVariantRow::BlockPtr XVariantRow::Made(std::size_t size, std::size_t words) {
    const std::size_t count = size > MaxPlaces ? size : words;
    BlockPtr block(new (::operator new(sizeof(Block) + (WordsOfMembers(size) + count) * sizeof(std::uint64_t)))
                       Block{static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(count)});
    std::uninitialized_fill_n(block->Members(), size, Member{});
    std::uninitialized_fill_n(block->Words(), count, std::uint64_t{0});
    return block;
}

void XVariantRow::Freed::operator()(Block* block) const noexcept {
    for (std::size_t i = 0; i < block->size; ++i) {
        if (LXIsScalar(block->Members()[i].type)) { continue; }
        XLXComVariant value;
        block->Exchange(i, value);
    }
    ::operator delete(block);
}

void XVariantRow::Block::Exchange(std::size_t index, XLXComVariant& value) {
    std::uint64_t word = V_UI8(&value.Get());
    std::uint8_t type = Elsewhere;
    if (IsLongerThanAWord(value.Type())) {
        auto* const kept = new XLXComVariant();
        std::swap(kept->Get(), value.Get());
        word = reinterpret_cast<std::uintptr_t>(kept);
    } else {
        type = static_cast<std::uint8_t>(value.Type());
        value.Detach();
    }
    std::swap(Words()[PlaceOf(index)], word);
    std::swap(Members()[index].type, type);
    if (type == Elsewhere) {
        const std::unique_ptr<XLXComVariant> former(AddressIn(word));
        value = std::move(*former);
        return;
    }
    V_UI8(&value.Get()) = word;
    V_VT(&value.Get()) = type;
}

void XVariantRow::Exchange(std::size_t index, XLXComVariant& value) {
    if (!m_block || !m_block->HasPlace(index)) {
        if (index < size() && value.Empty()) { return; }
        GivePlace(index);
    }
    m_block->Exchange(index, value);
}

void XVariantRow::GivePlace(std::size_t index) {
    const std::uint32_t words = m_block ? m_block->words : 0;
    BlockPtr former = Made(std::max(size(), index + 1), words + 1);
    m_block.swap(former);
    m_block->Members()[index].place = static_cast<std::uint8_t>(words);
    for (std::size_t i = 0; former && i < former->size; ++i) {
        if (!former->HasPlace(i)) { continue; }
        m_block->Members()[i] = former->Members()[i];
        m_block->Words()[m_block->PlaceOf(i)] = former->Words()[former->PlaceOf(i)];
    }
    if (former) { former->size = 0; } // its values were moved into the new block
}

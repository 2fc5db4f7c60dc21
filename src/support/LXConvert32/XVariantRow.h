// SPDX-License-Identifier: MIT
//
// XVariantRow owns the values of one object by member index. Most objects have many empty members, so only filled ones
// take a word. A row is one block: first the type of each member and the place of its word, then the words.
//
// Ownership  A row owns its values. Values are moved in and leave VT_EMPTY behind.
// Threading  Not thread-safe; concurrent reads are safe while nobody changes the row.
// Errors     std::bad_alloc; the row is then unchanged.
#ifndef XVARIANTROW_H
#define XVARIANTROW_H

#include "XLXComVariant.h"

#include <array>
#include <bit>
#include <memory>
#include <span>

class XVariantRow {
public:
    XVariantRow() noexcept = default;
    explicit XVariantRow(std::span<XLXComVariant> values);
    XVariantRow(XLXVariantVector values) : XVariantRow(std::span<XLXComVariant>(values)) {}

    /// The number of members, including empty ones.
    std::size_t size() const noexcept { return m_block ? m_block->size : 0; }
    bool empty() const noexcept { return size() == 0; }
    /// A view of a value, valid until the row is changed; empty for an index beyond the end.
    XLXVariantView operator[](std::size_t index) const noexcept {
        return index < size() ? m_block->At(index) : XLXVariantView();
    }

    /// Exchanges a value. Extends the row if it is too short.
    void Exchange(std::size_t index, XLXComVariant& value);

    void swap(XVariantRow& other) noexcept { m_block.swap(other.m_block); }

private:
    static constexpr std::uint8_t NoPlace = 0xFF;
    /// A member's type (VT_EMPTY, the type of its word, or Elsewhere) and the place of its word.
    struct Member {
        std::uint8_t type = VT_EMPTY;
        std::uint8_t place = NoPlace; ///< kept if the member becomes VT_EMPTY
    };
    /// For a value that does not fit into a word, or whose type does not fit into a byte: the word is its address.
    static constexpr std::uint8_t Elsewhere = 0xFF;
    /// In a longer row, each member has a word, at its own index.
    static constexpr std::size_t MaxPlaces = NoPlace;

    using InWords = std::array<std::uint64_t, sizeof(VARIANT) / sizeof(std::uint64_t)>;
    static XLXComVariant* AddressIn(std::uint64_t word) noexcept {
        return reinterpret_cast<XLXComVariant*>(static_cast<std::uintptr_t>(word));
    }

    /// The head of the block; the members and the words follow it in memory.
    struct Block {
        std::uint32_t size;  ///< number of members
        std::uint32_t words; ///< number of words

        const Member* Members() const noexcept { return reinterpret_cast<const Member*>(this + 1); }
        const std::uint64_t* Words() const noexcept {
            return reinterpret_cast<const std::uint64_t*>(this + 1) + WordsOfMembers(size);
        }
        Member* Members() noexcept { return const_cast<Member*>(std::as_const(*this).Members()); }
        std::uint64_t* Words() noexcept { return const_cast<std::uint64_t*>(std::as_const(*this).Words()); }

        std::size_t PlaceOf(std::size_t index) const noexcept {
            return size > MaxPlaces ? index : Members()[index].place;
        }
        bool HasPlace(std::size_t index) const noexcept {
            return index < size && (size > MaxPlaces || Members()[index].place != NoPlace);
        }
        XLXVariantView At(std::size_t index) const noexcept {
            const VARTYPE type = Members()[index].type;
            if (type == VT_EMPTY) { return {}; }
            const std::uint64_t word = Words()[PlaceOf(index)];
            if (type == Elsewhere) { return *AddressIn(word); }
            // Built from whole words: writing parts of a word and then copying the whole would stall the processor.
            return XLXVariantView(std::bit_cast<VARIANT>(InWords{type, word}));
        }
        /// Exchanges the value of a member that has a place.
        void Exchange(std::size_t index, XLXComVariant& value);
    };
    struct Freed {
        void operator()(Block* block) const noexcept;
    };
    using BlockPtr = std::unique_ptr<Block, Freed>;

    static constexpr std::size_t WordsOfMembers(std::size_t size) noexcept {
        return (size * sizeof(Member) + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t);
    }
    /// A block whose members are empty and have no place yet, with that many words.
    static BlockPtr Made(std::size_t size, std::size_t words);
    void GivePlace(std::size_t index);

    BlockPtr m_block;
};

#endif

// SPDX-License-Identifier: MIT
//
// XVariantRow owns the values of one object by member index. Many members of most objects are empty, so only those that
// are filled take a word: first the type of each member and the place of its word, then the words, in one block.
//
// Ownership  A row owns its values and what they own. Values that enter it leave VT_EMPTY where they stood.
// Threading  One thread at a time; any number while nobody changes the row.
// Errors     std::bad_alloc, and nothing has changed.
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

    /// The members, empty ones included.
    std::size_t size() const noexcept { return m_block ? m_block->size : 0; }
    bool empty() const noexcept { return size() == 0; }
    /// A look at a value, good until the row is changed; empty also behind the end.
    XLXVariantView operator[](std::size_t index) const noexcept {
        return index < size() ? m_block->At(index) : XLXVariantView();
    }

    /// Exchanges a value. A row that is too short becomes long enough.
    void Exchange(std::size_t index, XLXComVariant& value);

    void swap(XVariantRow& other) noexcept { m_block.swap(other.m_block); }

private:
    static constexpr std::uint8_t NoPlace = 0xFF;
    /// What a member holds: VT_EMPTY, the type of the word at its place, or Elsewhere.
    struct Member {
        std::uint8_t type = VT_EMPTY;
        std::uint8_t place = NoPlace; ///< kept while the member is VT_EMPTY again
    };
    /// The type of a value that does not fit into a word, or its type not into a byte: the word is its address.
    static constexpr std::uint8_t Elsewhere = 0xFF;
    /// In a longer row every member has the word at its index.
    static constexpr std::size_t MostPlaces = NoPlace;

    using InWords = std::array<std::uint64_t, sizeof(VARIANT) / sizeof(std::uint64_t)>;
    static XLXComVariant* AddressIn(std::uint64_t word) noexcept {
        return reinterpret_cast<XLXComVariant*>(static_cast<std::uintptr_t>(word));
    }

    /// The head of the block. Behind it stand the members and the words.
    struct Block {
        std::uint32_t size;  ///< members
        std::uint32_t words; ///< of them with a place

        const Member* Members() const noexcept { return reinterpret_cast<const Member*>(this + 1); }
        const std::uint64_t* Words() const noexcept {
            return reinterpret_cast<const std::uint64_t*>(this + 1) + WordsOfMembers(size);
        }
        Member* Members() noexcept { return const_cast<Member*>(std::as_const(*this).Members()); }
        std::uint64_t* Words() noexcept { return const_cast<std::uint64_t*>(std::as_const(*this).Words()); }

        std::size_t PlaceOf(std::size_t index) const noexcept {
            return size > MostPlaces ? index : Members()[index].place;
        }
        bool HasPlace(std::size_t index) const noexcept {
            return index < size && (size > MostPlaces || Members()[index].place != NoPlace);
        }
        XLXVariantView At(std::size_t index) const noexcept {
            const VARTYPE type = Members()[index].type;
            if (type == VT_EMPTY) { return {}; }
            const std::uint64_t word = Words()[PlaceOf(index)];
            if (type == Elsewhere) { return *AddressIn(word); }
            // In whole words: what is written in pieces and copied at once, the processor waits for.
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
    /// A block of members without a place, with room for so many words.
    static BlockPtr Made(std::size_t size, std::size_t words);
    void GivePlace(std::size_t index);

    BlockPtr m_block;
};

#endif

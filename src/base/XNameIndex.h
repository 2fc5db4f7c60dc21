// SPDX-License-Identifier: MIT
//
// Finds what belongs to a name, or to several names together, faster than an ordered map does: no key is made of the
// names, and a look-up reads two places of memory. It stands beside the ordered map that owns things.
//
// Two names are the same when they have the same characters over their whole lengths, as with XCFGStringKey.
//
// Threading  None of its own: guarded like the map that it stands beside.
// Errors     Set raises std::bad_alloc and then has changed nothing.
#ifndef XNAMEINDEX_H
#define XNAMEINDEX_H

#include "XLXText.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

/// @tparam T      a pointer, or something as small
/// @tparam Count  the names that make a key
template <class T, std::size_t Count = 1> class XNameIndex {
public:
    using Names = std::array<XLXTextView, Count>;

    /// What belongs to the names; null when nothing was set.
    const T* Find(const Names& names) const noexcept {
        if (m_slots.empty()) { return nullptr; }
        const Slot& slot = m_slots[Place(names, HashOf(names))];
        return slot.text != Free ? &slot.value : nullptr;
    }

    /// Sets what belongs to the names, in the place of what did.
    void Set(const Names& names, T value) {
        if (m_used + 1 > m_slots.size() / 2) { Grow(); }
        const std::uint32_t hash = HashOf(names);
        Slot& slot = m_slots[Place(names, hash)];
        if (slot.text == Free) {
            slot.text = Keep(names);
            slot.hash = hash;
            ++m_used;
        }
        slot.value = value;
    }

private:
    struct Slot {
        T value{};
        std::uint32_t hash = 0;
        std::uint32_t text = Free; ///< where the names begin in m_texts
    };
    static constexpr std::uint32_t Free = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t FewestSlots = 16;
    static constexpr std::size_t LengthUnits = sizeof(std::uint32_t) / sizeof(OLECHAR);

    static std::uint32_t HashOf(const Names& names) noexcept {
        constexpr std::uint64_t factor = 0x9E3779B97F4A7C15u;
        std::uint64_t hash = factor;
        const auto mix = [&hash](std::uint64_t word) {
            hash = (hash ^ word) * factor;
            hash ^= hash >> 32;
        };
        for (const XLXTextView name : names) {
            const OLECHAR* at = name.data();
            std::size_t left = name.size();
            std::uint64_t word = 0;
            for (; left >= sizeof word / sizeof *at; left -= sizeof word / sizeof *at) {
                std::memcpy(&word, at, sizeof word);
                at += sizeof word / sizeof *at;
                mix(word);
            }
            word = 0;
            if (left != 0) // an empty view may have no place
            {
                std::memcpy(&word, at, left * sizeof *at);
            }
            mix(word ^ (static_cast<std::uint64_t>(name.size()) << 48));
        }
        return static_cast<std::uint32_t>(hash);
    }

    /// The slot of the names, or the free one that they would get.
    std::size_t Place(const Names& names, std::uint32_t hash) const noexcept {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t place = hash & mask;
        while (m_slots[place].text != Free && !(m_slots[place].hash == hash && IsAt(m_slots[place].text, names))) {
            place = (place + 1) & mask;
        }
        return place;
    }

    bool IsAt(std::size_t at, const Names& names) const noexcept {
        const OLECHAR* text = m_texts.data() + at;
        for (const XLXTextView name : names) {
            std::uint32_t length = 0;
            std::memcpy(&length, text, sizeof length);
            text += LengthUnits; // for an empty name at the end: one behind the texts
            if (length != name.size() ||
                (length != 0 && std::memcmp(text, name.data(), length * sizeof(OLECHAR)) != 0)) {
                return false;
            }
            text += length;
        }
        return true;
    }

    /// Appends the names to the texts.
    std::uint32_t Keep(const Names& names) {
        const std::size_t at = m_texts.size();
        std::size_t units = at;
        for (const XLXTextView name : names) {
            units += LengthUnits + name.size();
        }
        if (units >= Free) { throw std::bad_alloc(); }
        m_texts.resize(units);
        OLECHAR* to = m_texts.data() + at;
        for (const XLXTextView name : names) {
            const auto length = static_cast<std::uint32_t>(name.size());
            std::memcpy(to, &length, sizeof length);
            to += LengthUnits;
            to += name.copy(to, name.size());
        }
        return static_cast<std::uint32_t>(at);
    }

    void Grow() {
        std::vector<Slot> slots(m_slots.empty() ? FewestSlots : m_slots.size() * 2);
        const std::size_t mask = slots.size() - 1;
        for (const Slot& slot : m_slots) {
            if (slot.text != Free) {
                std::size_t place = slot.hash & mask;
                while (slots[place].text != Free) {
                    place = (place + 1) & mask;
                }
                slots[place] = slot;
            }
        }
        m_slots.swap(slots);
    }

    std::vector<Slot> m_slots; ///< a power of two of them, at most half of them used
    std::size_t m_used = 0;
    std::vector<OLECHAR> m_texts; ///< each name behind its length
};

#endif

// SPDX-License-Identifier: MIT
//
// A hash index over one name or a tuple of names. It is faster than the ordered map beside it, which owns the values: a
// lookup builds no key and touches two places in memory.
//
// Names are compared by all characters over their whole length, as in XCFGStringKey.
//
// Threading  Not thread-safe; guarded by the lock of the map beside it.
// Errors     Set raises std::bad_alloc; the index is then unchanged.
#ifndef XNAMEINDEX_H
#define XNAMEINDEX_H

#include "XLXText.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

/// @tparam T      a pointer or another small type
/// @tparam Count  the number of names in a key
template <class T, std::size_t Count = 1> class XNameIndex {
public:
    using Names = std::array<XLXTextView, Count>;

    /// The value of these names, or null.
    const T* Find(const Names& names) const noexcept {
        if (m_slots.empty()) { return nullptr; }
        const Slot& slot = m_slots[Place(names, HashOf(names))];
        return slot.text != Free ? &slot.value : nullptr;
    }

    /// Sets the value of these names and replaces an existing one.
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
        std::uint32_t text = Free; ///< offset of the names in m_texts
    };
    static constexpr std::uint32_t Free = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t MinSlots = 16;
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
            if (left != 0) { // the data pointer of an empty view may be null
                std::memcpy(&word, at, left * sizeof *at);
            }
            mix(word ^ (static_cast<std::uint64_t>(name.size()) << 48));
        }
        return static_cast<std::uint32_t>(hash);
    }

    /// The slot of these names, or the free slot where they would be inserted.
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
            text += LengthUnits; // for an empty last name this is the end of m_texts
            if (length != name.size() ||
                (length != 0 && std::memcmp(text, name.data(), length * sizeof(OLECHAR)) != 0)) {
                return false;
            }
            text += length;
        }
        return true;
    }

    /// Appends the names to m_texts.
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
        std::vector<Slot> slots(m_slots.empty() ? MinSlots : m_slots.size() * 2);
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

    std::vector<Slot> m_slots; ///< the size is a power of two; at most half of the slots are used
    std::size_t m_used = 0;
    std::vector<OLECHAR> m_texts; ///< each name is preceded by its length
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XDISPLAYFACTS_H
#define XDISPLAYFACTS_H

#include "XClock.h"
#include "XVariantRow.h"

#include <optional>

/// What decides in which displays an attribute is shown.
struct XDisplayFacts
{
    bool inBrowser = false;
    bool inEditor = false;
    bool inFinder = false;
    bool printable = false;
    bool inAVSet = false;
    bool vendorDefined = false;
    LONG groupNumber = 0;

    /// The highest property index that the facts are read from.
    static constexpr int LastMember = 46;

    /// The facts in an attribute's values; an empty or missing value is no answer.
    static XDisplayFacts Of(const XVariantRow& values);
    /// Asks for the memory that Of looks at.
    static void Prefetch(const XVariantRow& values) noexcept;

    /// The facts in one word, and back.
    std::uint64_t Packed() const noexcept;
    static XDisplayFacts Unpacked(std::uint64_t word) noexcept;

private:
    enum Bit : std::uint64_t
    {
        Browser = 1,
        Editor = 2,
        Finder = 4,
        Print = 8,
        AVSet = 16,
        Vendor = 32
    };
    static constexpr int GroupNumberShift = 32;
};

inline std::uint64_t XDisplayFacts::Packed() const noexcept
{
    const auto bit = [](bool set, Bit value) { return set ? std::uint64_t{value} : std::uint64_t{0}; };
    return bit(inBrowser, Browser) | bit(inEditor, Editor) | bit(inFinder, Finder) | bit(printable, Print) |
           bit(inAVSet, AVSet) | bit(vendorDefined, Vendor) |
           (static_cast<std::uint64_t>(static_cast<std::uint32_t>(groupNumber)) << GroupNumberShift);
}

inline XDisplayFacts XDisplayFacts::Unpacked(std::uint64_t word) noexcept
{
    XDisplayFacts facts;
    facts.inBrowser = (word & Browser) != 0;
    facts.inEditor = (word & Editor) != 0;
    facts.inFinder = (word & Finder) != 0;
    facts.printable = (word & Print) != 0;
    facts.inAVSet = (word & AVSet) != 0;
    facts.vendorDefined = (word & Vendor) != 0;
    facts.groupNumber = static_cast<LONG>(static_cast<std::uint32_t>(word >> GroupNumberShift));
    return facts;
}

/// The display facts of an attribute, kept so that display enumerations read two words and no lock. They are
/// published with the values, under the lock and the stamp of the store.
class XKeptDisplayFacts
{
public:
    /// Called under the store's write lock, so there is one writer at a time and stamps never go back.
    void Keep(const XDisplayFacts& facts, const XStamp& stamp) noexcept;
    /// The facts when they are fresh. Inline: a display enumeration asks every attribute of a type.
    /// @param now  the stamp that would be noted now
    std::optional<XDisplayFacts> Fresh(const XStamp& now) const noexcept
    {
        if (m_stamp.load(std::memory_order_acquire) != now.Sum())
        {
            return std::nullopt;
        }
        // Read after the stamp, and written before it: these are the facts of the stamp, or newer ones.
        return XDisplayFacts::Unpacked(m_packed.load(std::memory_order_acquire));
    }

private:
    std::atomic<std::uint64_t> m_stamp{0}; // XStamp::Sum
    std::atomic<std::uint64_t> m_packed{0};
};

#endif

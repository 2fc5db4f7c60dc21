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
};

/// The display facts of an attribute, kept so that display enumerations read two words and no lock. They are published
/// with the values, under the lock and the stamp of the store.
class XKeptDisplayFacts
{
public:
    /// Called under the store's write lock, so there is one writer at a time and stamps never go back.
    void Keep(const XDisplayFacts& facts, const XStamp& stamp) noexcept;
    /// The facts when they are fresh.
    /// @param now  the stamp that would be noted now
    std::optional<XDisplayFacts> Fresh(const XStamp& now) const noexcept;

private:
    std::atomic<std::uint64_t> m_stamp{0}; // XStamp::Sum
    std::atomic<std::uint64_t> m_packed{0};
};

#endif

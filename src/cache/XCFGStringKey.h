// SPDX-License-Identifier: MIT
#ifndef XCFGSTRINGKEY_H
#define XCFGSTRINGKEY_H

#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <compare>
#include <cstring>
#include <map>
#include <set>

/// The key of every map by name: the name over its whole length. A null or empty name gives the null key, which sorts
/// first.
///
/// Keys sort by code points, as their UTF-8 forms would: a surrogate pair comes behind U+FFFF, a lone surrogate stands
/// where its number says. A map that compares with std::less<> finds a text without a key being made of it.
class XCFGStringKey {
public:
    XCFGStringKey() noexcept = default;
    explicit XCFGStringKey(XLXTextView name) : m_text(name) {}
    /// The key of a name in a value; none when the value is empty or no text.
    static std::optional<XCFGStringKey> Of(const XLXVariantView& name);

    bool IsNull() const noexcept { return m_text.empty(); }
    /// The name that the key was made of.
    const XLXText& Text() const noexcept { return m_text; }

    friend bool operator==(const XCFGStringKey& left, const XCFGStringKey& right) noexcept = default;
    friend bool operator==(const XCFGStringKey& left, XLXTextView right) noexcept { return left.m_text == right; }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, const XCFGStringKey& right) noexcept {
        return left.Compare(right.m_text);
    }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, XLXTextView right) noexcept {
        return left.Compare(right);
    }

private:
    static constexpr bool IsSurrogate(OLECHAR unit) noexcept { return (unit & 0xF800) == 0xD800; }
    /// Compares texts by the first units to differ, of which one is half of a surrogate pair, or looks like it.
    static std::strong_ordering CompareSurrogates(XLXTextView left, XLXTextView right, std::size_t at) noexcept;

    // Inline, and four units at a time: a look-up compares many names that begin alike.
    std::strong_ordering Compare(XLXTextView other) const noexcept {
        const XLXTextView own = m_text;
        const std::size_t common = own.size() < other.size() ? own.size() : other.size();
        std::size_t at = 0;
        constexpr std::size_t step = 4;
        while (at + step <= common && std::memcmp(&own[at], &other[at], step * sizeof(OLECHAR)) == 0) {
            at += step;
        }
        while (at < common && own[at] == other[at]) {
            ++at;
        }
        if (at == common) { return own.size() <=> other.size(); }
        return IsSurrogate(own[at]) || IsSurrogate(other[at]) ? CompareSurrogates(own, other, at)
                                                              : own[at] <=> other[at];
    }

    XLXText m_text;
};

template <class T> using XNameMap = std::map<XCFGStringKey, T, std::less<>>;
using XNameSet = std::set<XCFGStringKey, std::less<>>;

#endif

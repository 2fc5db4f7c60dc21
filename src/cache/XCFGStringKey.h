// SPDX-License-Identifier: MIT
#ifndef XCFGSTRINGKEY_H
#define XCFGSTRINGKEY_H

#include "XLXComBSTR.h"
#include "XLXComVariant.h"
#include "XSharedText.h"

#include <compare>
#include <cstring>
#include <map>
#include <set>

/// The key of maps by name: the whole name, including embedded nulls. A null or empty name gives the null key, which
/// sorts first. Copies share the text, because the map of a type has a copy of each key of its base's map.
///
/// Keys sort by code points, like their UTF-8 forms: a surrogate pair sorts after U+FFFF, a lone surrogate by its own
/// code. A map that compares with std::less<> can be searched by text without creating a key.
class XCFGStringKey {
public:
    XCFGStringKey() noexcept = default;
    explicit XCFGStringKey(XLXTextView name) : m_text(!name.empty() ? XSharedText::Create(name) : nullptr) {}
    /// The key of a name in a value; nullopt if the value is empty or cannot be converted to text.
    static std::optional<XCFGStringKey> Of(const XLXVariantView& name);

    bool IsNull() const noexcept { return !m_text; }
    XLXTextView Text() const noexcept { return m_text ? m_text->View() : XLXTextView(); }

    friend bool operator==(const XCFGStringKey& left, const XCFGStringKey& right) noexcept {
        return left.Text() == right.Text();
    }
    friend bool operator==(const XCFGStringKey& left, XLXTextView right) noexcept { return left.Text() == right; }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, const XCFGStringKey& right) noexcept {
        return left.Compare(right.Text());
    }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, XLXTextView right) noexcept {
        return left.Compare(right);
    }

private:
    static constexpr bool IsSurrogate(OLECHAR unit) noexcept { return (unit & 0xF800) == 0xD800; }
    /// Compares texts whose first differing units are at that index, at least one of them a surrogate.
    static std::strong_ordering CompareSurrogates(XLXTextView left, XLXTextView right, std::size_t at) noexcept;

    // Inline, and four units at a time, because look-ups compare many names with common prefixes.
    std::strong_ordering Compare(XLXTextView other) const noexcept {
        const XLXTextView own = Text();
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

    XLXComPtr<XSharedText> m_text; // null for an empty name
};

template <class T> using XNameMap = std::map<XCFGStringKey, T, std::less<>>;
using XNameSet = std::set<XCFGStringKey, std::less<>>;

#endif

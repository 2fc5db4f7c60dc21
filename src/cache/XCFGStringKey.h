// SPDX-License-Identifier: MIT
#ifndef XCFGSTRINGKEY_H
#define XCFGSTRINGKEY_H

#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <compare>
#include <map>
#include <set>

/// The key of every map by name: the name over its whole length. A null or empty name gives the null key, which sorts
/// first.
///
/// Keys sort by code points, as their UTF-8 forms would: a surrogate pair comes behind U+FFFF, a lone surrogate stands
/// where its number says. A map that compares with std::less<> finds a text without a key being made of it.
class XCFGStringKey
{
public:
    XCFGStringKey() noexcept = default;
    explicit XCFGStringKey(XLXTextView name) : m_text(name) {}
    /// The key of a name in a value; none when the value is empty or no text.
    static std::optional<XCFGStringKey> Of(const XLXComVariant& name);

    bool IsNull() const noexcept { return m_text.empty(); }
    /// The name that the key was made of.
    const XLXText& Text() const noexcept { return m_text; }

    friend bool operator==(const XCFGStringKey& left, const XCFGStringKey& right) noexcept = default;
    friend bool operator==(const XCFGStringKey& left, XLXTextView right) noexcept { return left.m_text == right; }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, const XCFGStringKey& right) noexcept
    {
        return left.Compare(right.m_text);
    }
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, XLXTextView right) noexcept
    {
        return left.Compare(right);
    }

private:
    std::strong_ordering Compare(XLXTextView other) const noexcept;

    XLXText m_text;
};

template <class T>
using XNameMap = std::map<XCFGStringKey, T, std::less<>>;
using XNameSet = std::set<XCFGStringKey, std::less<>>;

#endif

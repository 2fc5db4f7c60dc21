// SPDX-License-Identifier: MIT
#ifndef XCFGSTRINGKEY_H
#define XCFGSTRINGKEY_H

#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <compare>
#include <string>

/// The key of every map by name. The name is kept as UTF-8 over its whole length (a lone surrogate in its three-byte
/// form), so that two different names never become one key, and keys compare byte by byte. A null or empty name gives
/// the null key, which sorts first.
class XCFGStringKey
{
public:
    XCFGStringKey() noexcept = default;
    explicit XCFGStringKey(XLXTextView name);
    /// The key of a name in a value; none when the value is empty or no text.
    static std::optional<XCFGStringKey> Of(const XLXComVariant& name);

    bool IsNull() const noexcept { return m_bytes.empty(); }
    const std::string& Bytes() const noexcept { return m_bytes; }
    /// The name that the key was made of.
    XLXText Text() const;

    friend bool operator==(const XCFGStringKey&, const XCFGStringKey&) noexcept = default;
    friend std::strong_ordering operator<=>(const XCFGStringKey& left, const XCFGStringKey& right) noexcept
    {
        return left.m_bytes.compare(right.m_bytes) <=> 0;
    }

private:
    std::string m_bytes;
};

#endif

// SPDX-License-Identifier: MIT
//
// XLXComVariant owns a VARIANT and has its layout, so that a vector of them is an array of VARIANTs.
// Copies are spelt out, since one allocates; moves never fail.
#ifndef XLXCOMVARIANT_H
#define XLXCOMVARIANT_H

#include "XLXComBSTR.h"
#include "XLXComPtr.h"

#include <optional>
#include <vector>

class XLXComVariant
{
public:
    XLXComVariant() noexcept { VariantInit(&m_value); }
    XLXComVariant(XLXComVariant&& other) noexcept : m_value(other.m_value) { VariantInit(&other.m_value); }
    ~XLXComVariant() { VariantClear(&m_value); }
    XLXComVariant& operator=(XLXComVariant&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    XLXComVariant(const XLXComVariant&) = delete;
    XLXComVariant& operator=(const XLXComVariant&) = delete;

    static XLXComVariant FromI4(LONG value) noexcept;
    static XLXComVariant FromUI4(ULONG value) noexcept;
    static XLXComVariant FromBool(bool value) noexcept;
    static XLXComVariant FromDouble(double value) noexcept;
    static XLXComVariant FromBstr(XLXTextView text);
    /// Adds a reference to the object.
    static XLXComVariant FromUnknown(IUnknown* object) noexcept;

    /// A copy of a VARIANT, of what it refers to when it is a reference; raises the platform's code when it
    /// cannot be made.
    static XLXComVariant CopyOf(const VARIANT& value);
    XLXComVariant Copy() const { return CopyOf(m_value); }
    /// Takes over what the VARIANT owns and leaves it VT_EMPTY.
    static XLXComVariant Take(VARIANT& value) noexcept;

    VARTYPE Type() const noexcept { return V_VT(&m_value); }
    bool Empty() const noexcept { return Type() == VT_EMPTY; }
    const VARIANT& Get() const noexcept { return m_value; }
    VARIANT& Get() noexcept { return m_value; }
    VARIANT* Put() noexcept
    {
        VariantClear(&m_value);
        return &m_value;
    }
    /// Gives the value to a caller's variable, which is overwritten as it stands.
    void DetachTo(VARIANT* out) noexcept
    {
        *out = m_value;
        VariantInit(&m_value);
    }

    /// The value converted as the platform converts it; nothing when it cannot be. An empty value converts
    /// to 0, false and "".
    std::optional<LONG> AsLong() const;
    std::optional<bool> AsBool() const;
    std::optional<XLXText> AsText() const;
    /// The object in a VT_UNKNOWN or VT_DISPATCH value; null for any other.
    IUnknown* AsUnknown() const noexcept;

private:
    VARIANT m_value;
};

static_assert(sizeof(XLXComVariant) == sizeof(VARIANT) && sizeof(VARIANT) == 24);

using XLXVariantVector = std::vector<XLXComVariant>;

#endif

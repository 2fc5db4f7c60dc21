// SPDX-License-Identifier: MIT
//
// XLXComVariant owns a VARIANT and has its layout, so a vector of them is an array of VARIANTs. Copying may allocate
// and is always explicit; moves never fail. XLXVariantView is a bitwise copy of a VARIANT that another
// owner clears.
#ifndef XLXCOMVARIANT_H
#define XLXCOMVARIANT_H

#include "XLXComBSTR.h"
#include "XLXComPtr.h"

#include <cstdint>
#include <optional>
#include <vector>

/// Whether values of that type own nothing: they are copied by assignment and need no clearing.
constexpr bool LXIsScalar(VARTYPE type) noexcept {
    constexpr auto bit = [](int scalar) { return std::uint32_t{1} << scalar; };
    constexpr std::uint32_t scalars = bit(VT_EMPTY) | bit(VT_NULL) | bit(VT_I2) | bit(VT_I4) | bit(VT_R4) | bit(VT_R8) |
                                      bit(VT_BOOL) | bit(VT_I1) | bit(VT_UI1) | bit(VT_UI2) | bit(VT_UI4) | bit(VT_I8) |
                                      bit(VT_UI8) | bit(VT_INT) | bit(VT_UINT);
    return type < 32 && ((scalars >> type) & 1) != 0;
}

/// Clears a VARIANT, without a call if it owns nothing. Returns the platform's failure for an unknown type.
inline HRESULT LXClear(VARIANT& value) noexcept {
    if (!LXIsScalar(V_VT(&value))) { return VariantClear(&value); }
    V_VT(&value) = VT_EMPTY;
    return S_OK;
}

class XLXComVariant;

class XLXVariantView {
public:
    XLXVariantView() noexcept : m_value() {}
    explicit XLXVariantView(const VARIANT& value) noexcept : m_value(value) {}
    XLXVariantView(const XLXVariantView& other) noexcept = default;
    XLXVariantView& operator=(const XLXVariantView&) = delete;

    VARTYPE Type() const noexcept { return V_VT(&m_value); }
    bool Empty() const noexcept { return Type() == VT_EMPTY; }
    const VARIANT& Get() const noexcept { return m_value; }
    XLXComVariant Copy() const;

    /// The value, converted by VariantChangeType; nullopt if that fails. An empty value converts to 0, false and "".
    std::optional<LONG> AsLong() const;
    std::optional<bool> AsBool() const;
    std::optional<XLXText> AsText() const;
    /// The object in a VT_UNKNOWN or VT_DISPATCH value; null for any other.
    IUnknown* AsUnknown() const noexcept;

protected:
    VARIANT m_value;
};

class XLXComVariant : public XLXVariantView {
public:
    XLXComVariant() noexcept = default;
    XLXComVariant(XLXComVariant&& other) noexcept : XLXVariantView(other.m_value) { other.Detach(); }
    ~XLXComVariant() { LXClear(m_value); }
    XLXComVariant& operator=(XLXComVariant&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }

    static XLXComVariant FromI4(LONG value) noexcept;
    static XLXComVariant FromUI4(ULONG value) noexcept;
    static XLXComVariant FromBool(bool value) noexcept;
    static XLXComVariant FromDouble(double value) noexcept;
    static XLXComVariant FromBstr(XLXTextView text);
    /// Adds a reference to the object.
    static XLXComVariant FromUnknown(IUnknown* object) noexcept;

    /// Copies a VARIANT; VT_BYREF is dereferenced. Raises the platform's failure.
    static XLXComVariant CopyOf(const VARIANT& value);

    using XLXVariantView::Get;
    VARIANT& Get() noexcept { return m_value; }
    VARIANT* Put() noexcept {
        LXClear(m_value);
        return &m_value;
    }
    /// Forgets the value without clearing it.
    void Detach() noexcept { V_VT(&m_value) = VT_EMPTY; }
    /// Moves the value into a variable, whose old value is not cleared.
    void DetachTo(VARIANT* out) noexcept {
        *out = m_value;
        Detach();
    }
};

inline XLXComVariant XLXVariantView::Copy() const { return XLXComVariant::CopyOf(m_value); }

/// Moves a value into a client's variable and clears the old value there. That may call foreign code, so no lock may be
/// held.
inline HRESULT LXHandOutValue(XLXComVariant&& value, VARIANT* out) noexcept {
    const HRESULT result = LXClear(*out);
    if (SUCCEEDED(result)) { value.DetachTo(out); }
    return result;
}

static_assert(sizeof(XLXComVariant) == sizeof(VARIANT) && sizeof(VARIANT) == 8 + 2 * sizeof(void*));

using XLXVariantVector = std::vector<XLXComVariant>;

#endif

// SPDX-License-Identifier: MIT
#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <limits>
#include <new>

BSTR XLXComBSTR::Allocate(XLXTextView text) {
    if (text.size() > std::numeric_limits<UINT>::max() / sizeof(OLECHAR) - sizeof(OLECHAR) * 4) {
        throw std::bad_alloc();
    }
    const BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (copy == nullptr) { throw std::bad_alloc(); }
    return copy;
}

LONG LXParseDecimal(XLXTextView text) noexcept {
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= 9 && text[at] <= 13))) {
        ++at;
    }
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) { ++at; }
    constexpr LONGLONG most = std::numeric_limits<LONG>::max();
    LONGLONG value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + (text[at] - '0');
        if (value > most + 1) // as wcstol: the nearest number that fits
        {
            value = most + 1;
        }
    }
    return negative ? static_cast<LONG>(-value) : static_cast<LONG>(value > most ? most : value);
}

XLXComVariant XLXComVariant::FromI4(LONG value) noexcept {
    XLXComVariant variant;
    V_VT(&variant.m_value) = VT_I4;
    V_I4(&variant.m_value) = value;
    return variant;
}

XLXComVariant XLXComVariant::FromUI4(ULONG value) noexcept {
    XLXComVariant variant;
    V_VT(&variant.m_value) = VT_UI4;
    V_UI4(&variant.m_value) = value;
    return variant;
}

XLXComVariant XLXComVariant::FromBool(bool value) noexcept {
    XLXComVariant variant;
    V_VT(&variant.m_value) = VT_BOOL;
    V_BOOL(&variant.m_value) = value ? VARIANT_TRUE : VARIANT_FALSE;
    return variant;
}

XLXComVariant XLXComVariant::FromDouble(double value) noexcept {
    XLXComVariant variant;
    V_VT(&variant.m_value) = VT_R8;
    V_R8(&variant.m_value) = value;
    return variant;
}

XLXComVariant XLXComVariant::FromBstr(XLXTextView text) {
    XLXComVariant variant;
    V_BSTR(&variant.m_value) = XLXComBSTR(text).Detach();
    V_VT(&variant.m_value) = VT_BSTR;
    return variant;
}

XLXComVariant XLXComVariant::FromUnknown(IUnknown* object) noexcept {
    XLXComVariant variant;
    V_VT(&variant.m_value) = VT_UNKNOWN;
    V_UNKNOWN(&variant.m_value) = object;
    if (object != nullptr) { object->AddRef(); }
    return variant;
}

XLXComVariant XLXComVariant::CopyOf(const VARIANT& value) {
    XLXComVariant copy;
    const HRESULT result = VariantCopyInd(&copy.m_value, const_cast<VARIANT*>(&value));
    if (result == E_OUTOFMEMORY) { throw std::bad_alloc(); }
    XLXError::RaiseIfFailed(result, OLESTR("the value cannot be copied"),
                            LXHere("LXConvert32", "XLXComVariant", "CopyOf"));
    return copy;
}

namespace {
/// The value changed to a type; nothing when it is no such value.
std::optional<XLXComVariant> Changed(const VARIANT& value, VARTYPE type) {
    XLXComVariant changed;
    const HRESULT result = VariantChangeType(&changed.Get(), const_cast<VARIANT*>(&value), 0, type);
    if (result == E_OUTOFMEMORY) { throw std::bad_alloc(); }
    return SUCCEEDED(result) ? std::optional<XLXComVariant>(std::move(changed)) : std::nullopt;
}
} // namespace

std::optional<LONG> XLXComVariant::AsLong() const {
    if (Type() == VT_I4) { return V_I4(&m_value); }
    const auto changed = Changed(m_value, VT_I4);
    return changed ? std::optional<LONG>(V_I4(&changed->m_value)) : std::nullopt;
}

std::optional<bool> XLXComVariant::AsBool() const {
    if (Type() == VT_BOOL) { return V_BOOL(&m_value) != VARIANT_FALSE; }
    const auto changed = Changed(m_value, VT_BOOL);
    return changed ? std::optional<bool>(V_BOOL(&changed->m_value) != VARIANT_FALSE) : std::nullopt;
}

std::optional<XLXText> XLXComVariant::AsText() const {
    if (Type() == VT_BSTR) { return XLXText(LXBstrView(V_BSTR(&m_value))); }
    const auto changed = Changed(m_value, VT_BSTR);
    return changed ? std::optional<XLXText>(LXBstrView(V_BSTR(&changed->m_value))) : std::nullopt;
}

IUnknown* XLXComVariant::AsUnknown() const noexcept {
    return Type() == VT_UNKNOWN || Type() == VT_DISPATCH ? V_UNKNOWN(&m_value) : nullptr;
}

// SPDX-License-Identifier: MIT
#include "XLXComBSTR.h"
#include "XLXComVariant.h"

#include <algorithm>
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
        value = std::min(value * 10 + (text[at] - '0'), most + 1); // saturates, like wcstol
    }
    return static_cast<LONG>(negative ? -value : std::min(value, most));
}

namespace {
/// A variant of that type; set(variant) writes its value.
template <class Set> XLXComVariant Made(VARTYPE type, Set&& set) {
    XLXComVariant made;
    set(&made.Get());
    V_VT(&made.Get()) = type;
    return made;
}
} // namespace

XLXComVariant XLXComVariant::FromI4(LONG value) noexcept {
    return Made(VT_I4, [value](VARIANT* to) { V_I4(to) = value; });
}

XLXComVariant XLXComVariant::FromUI4(ULONG value) noexcept {
    return Made(VT_UI4, [value](VARIANT* to) { V_UI4(to) = value; });
}

XLXComVariant XLXComVariant::FromBool(bool value) noexcept {
    return Made(VT_BOOL, [value](VARIANT* to) { V_BOOL(to) = value ? VARIANT_TRUE : VARIANT_FALSE; });
}

XLXComVariant XLXComVariant::FromDouble(double value) noexcept {
    return Made(VT_R8, [value](VARIANT* to) { V_R8(to) = value; });
}

XLXComVariant XLXComVariant::FromBstr(XLXTextView text) {
    return Made(VT_BSTR, [text](VARIANT* to) { V_BSTR(to) = XLXComBSTR(text).Detach(); });
}

XLXComVariant XLXComVariant::FromUnknown(IUnknown* object) noexcept {
    return Made(VT_UNKNOWN, [object](VARIANT* to) { XLXComPtr<IUnknown>(object).CopyTo(&V_UNKNOWN(to)); });
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
/// Converts the value to a type and returns read(converted); nullopt if it cannot be converted.
template <class Read>
auto Converted(const VARIANT& value, VARTYPE type, Read&& read) -> std::optional<decltype(read(value))> {
    if (V_VT(&value) == type) { return read(value); }
    XLXComVariant changed;
    const HRESULT result = VariantChangeType(&changed.Get(), const_cast<VARIANT*>(&value), 0, type);
    if (result == E_OUTOFMEMORY) { throw std::bad_alloc(); }
    if (FAILED(result)) { return std::nullopt; }
    return read(changed.Get());
}
} // namespace

std::optional<LONG> XLXVariantView::AsLong() const {
    return Converted(m_value, VT_I4, [](const VARIANT& value) { return LONG{V_I4(&value)}; });
}

std::optional<bool> XLXVariantView::AsBool() const {
    return Converted(m_value, VT_BOOL, [](const VARIANT& value) { return V_BOOL(&value) != VARIANT_FALSE; });
}

std::optional<XLXText> XLXVariantView::AsText() const {
    return Converted(m_value, VT_BSTR, [](const VARIANT& value) { return XLXText(LXBstrView(V_BSTR(&value))); });
}

IUnknown* XLXVariantView::AsUnknown() const noexcept {
    return Type() == VT_UNKNOWN || Type() == VT_DISPATCH ? V_UNKNOWN(&m_value) : nullptr;
}

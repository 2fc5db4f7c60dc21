// SPDX-License-Identifier: MIT
//
// VariantChangeType between the types of configuration values: integers, reals, booleans and text. Dates, currency and
// decimals are copied but not converted. Text is parsed as in the invariant locale, without currency signs and without
// hexadecimal and octal numbers.
#include "variant_number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

using LXPlatformNumber::Number;

namespace {
template <typename T> HRESULT StoreWhole(const Number& number, T& out) {
    using Limits = std::numeric_limits<T>;
    if (number.isReal) {
        const double rounded = std::nearbyint(number.real); // round half to even
        const double limit = std::ldexp(1.0, Limits::digits);
        if (!(rounded < limit && rounded >= (Limits::is_signed ? -limit : 0.0))) { return DISP_E_OVERFLOW; }
        out = static_cast<T>(rounded);
        return S_OK;
    }
    const uint64_t magnitude = number.negative ? 0 - number.bits : number.bits;
    const uint64_t most = static_cast<uint64_t>(Limits::max()) + (number.negative ? 1 : 0);
    const bool fits = magnitude <= most && (!number.negative || Limits::is_signed);
    if (!fits && !number.unchecked && number.width != sizeof(T)) { return DISP_E_OVERFLOW; }
    out = static_cast<T>(number.bits);
    return S_OK;
}

double AsReal(const Number& number) {
    if (number.isReal) { return number.real; }
    return number.negative ? static_cast<double>(static_cast<int64_t>(number.bits)) : static_cast<double>(number.bits);
}

HRESULT StoreSingle(const Number& number, float& out) {
    const double value = AsReal(number);
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) { return DISP_E_OVERFLOW; }
    out = static_cast<float>(value);
    return S_OK;
}

HRESULT StoreText(std::string_view narrow, BSTR& out) {
    out = SysAllocStringLen(std::u16string(narrow.begin(), narrow.end()).c_str(), static_cast<UINT>(narrow.size()));
    return out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT StoreText(const Number& number, BSTR& out) {
    char text[64];
    std::to_chars_result end = {};
    if (number.isReal) {
        const double value = number.real == 0 ? 0.0 : number.real; // no "-0"
        end = std::to_chars(text, text + sizeof(text), value, std::chars_format::general, number.digits);
        std::transform(text, end.ptr, text, [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
    } else if (number.negative) {
        end = std::to_chars(text, text + sizeof(text), static_cast<int64_t>(number.bits));
    } else {
        end = std::to_chars(text, text + sizeof(text), number.bits);
    }
    return StoreText(std::string_view(text, static_cast<std::size_t>(end.ptr - text)), out);
}

HRESULT Store(const Number& number, VARTYPE vt, VARIANT& out) {
    switch (vt) {
    case VT_I1: {
        signed char value = 0;
        const HRESULT result = StoreWhole(number, value);
        out.cVal = static_cast<CHAR>(value);
        return result;
    }
    case VT_I2: return StoreWhole(number, out.iVal);
    case VT_I4:
    case VT_INT: return StoreWhole(number, out.lVal);
    case VT_I8: return StoreWhole(number, out.llVal);
    case VT_UI1: return StoreWhole(number, out.bVal);
    case VT_UI2: return StoreWhole(number, out.uiVal);
    case VT_UI4:
    case VT_UINT: return StoreWhole(number, out.ulVal);
    case VT_UI8: return StoreWhole(number, out.ullVal);
    case VT_R4: return StoreSingle(number, out.fltVal);
    case VT_R8: out.dblVal = AsReal(number); return S_OK;
    case VT_BOOL: out.boolVal = AsReal(number) != 0 ? VARIANT_TRUE : VARIANT_FALSE; return S_OK;
    case VT_BSTR: return StoreText(number, out.bstrVal);
    default: return DISP_E_TYPEMISMATCH;
    }
}

/// Compares with a lower-case word, ignoring case.
bool IsWord(std::u16string_view text, std::string_view word) {
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [](char16_t a, char b) { return (a >= u'A' && a <= u'Z' ? a + 0x20 : a) == b; });
}

HRESULT FromText(std::u16string_view text, VARTYPE vt, VARIANT& out) {
    if (vt == VT_BOOL) {
        const bool isTrue = IsWord(text, "true") || text == u"#TRUE#";
        if (isTrue || IsWord(text, "false") || text == u"#FALSE#") {
            out.boolVal = isTrue ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
    }
    Number number;
    const HRESULT result = LXPlatformNumber::FromText(text, number);
    return FAILED(result) ? result : Store(number, vt, out);
}

/// Converts into out, whose type is already set.
HRESULT Convert(const VARIANT& value, VARTYPE vt, VARIANT& out) {
    if (vt == VT_EMPTY || vt == VT_NULL) {
        return value.vt == VT_NULL || value.vt == VT_ERROR || (value.vt & VT_ARRAY) != 0 ? DISP_E_TYPEMISMATCH : S_OK;
    }
    if (value.vt == VT_EMPTY && vt == VT_BSTR) { return StoreText("", out.bstrVal); }
    if (value.vt == VT_BSTR) { return FromText({value.bstrVal, SysStringLen(value.bstrVal)}, vt, out); }
    const std::optional<Number> number = LXPlatformNumber::FromValue(value);
    return number ? Store(*number, vt, out) : DISP_E_TYPEMISMATCH;
}
} // namespace

HRESULT VariantChangeType(VARIANT* pvarDest, VARIANT* pvarSrc, USHORT, VARTYPE vt) {
    if (pvarDest == nullptr || pvarSrc == nullptr) { return E_INVALIDARG; }
    if ((vt & VT_TYPEMASK) > VT_UINT) { return DISP_E_BADVARTYPE; }
    VARIANT value = {};
    HRESULT result = VariantCopyInd(&value, pvarSrc);
    if (FAILED(result)) { return result; }
    if (value.vt != vt) {
        VARIANT converted = {};
        converted.vt = vt;
        result = Convert(value, vt, converted);
        VariantClear(&value);
        if (FAILED(result)) { return result; }
        value = converted;
    }
    result = VariantClear(pvarDest);
    SUCCEEDED(result) ? static_cast<void>(*pvarDest = value) : static_cast<void>(VariantClear(&value));
    return result;
}

// SPDX-License-Identifier: MIT
#include "variant_number.h"

#include <charconv>
#include <string>
#include <system_error>

using LXPlatformNumber::Number;

namespace {
Number Whole(int64_t value, unsigned width) {
    Number number;
    number.negative = value < 0;
    number.bits = static_cast<uint64_t>(value);
    number.width = width;
    return number;
}

Number Unsigned(uint64_t value, unsigned width) {
    Number number;
    number.bits = value;
    number.width = width;
    return number;
}

Number Real(double value, int digits) {
    Number number;
    number.isReal = true;
    number.real = value;
    number.digits = digits;
    return number;
}

/// A boolean converts to every type without a range check.
Number Boolean(VARIANT_BOOL value) {
    Number number = Whole(value, sizeof(value));
    number.unchecked = true;
    return number;
}

/// Parses a number: blanks; one sign before or after the number, or parentheses for a negative number; digits with
/// thousands separators; a decimal point; an exponent.
class TextNumber {
public:
    explicit TextNumber(std::u16string_view text) : m_rest(text) {}

    HRESULT Read(Number& number) {
        if (!ReadFront() || !ReadDigits() || !ReadExponent() || !ReadBack()) { return DISP_E_TYPEMISMATCH; }
        return m_isWhole && ToWhole(number) ? S_OK : ToReal(number);
    }

private:
    char16_t Next() const { return m_rest.empty() ? u'\0' : m_rest.front(); }
    char16_t Take() {
        const char16_t next = Next();
        m_rest.remove_prefix(1);
        return next;
    }
    static bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
    static bool IsSign(char16_t c) { return c == u'+' || c == u'-'; }
    static bool IsBlank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

    bool TakeSign() {
        if (m_hasSign) { return false; }
        m_hasSign = true;
        m_negative = m_negative || Take() == u'-';
        return true;
    }

    bool ReadFront() {
        while (IsBlank(Next()) || IsSign(Next()) || Next() == u'(') {
            if (IsSign(Next())) {
                if (m_inParentheses || !TakeSign()) { return false; }
                continue;
            }
            if (Take() == u'(') {
                if (m_inParentheses) { return false; }
                m_inParentheses = m_negative = true;
            }
        }
        return true;
    }

    bool ReadDigits() {
        bool any = false;
        for (; IsDigit(Next()) || (Next() == u',' && any && m_isWhole) || (Next() == u'.' && m_isWhole);) {
            const char16_t next = Take();
            any = any || IsDigit(next);
            m_isWhole = m_isWhole && next != u'.';
            if (next != u',') { m_plain += static_cast<char>(next); }
        }
        return any;
    }

    bool ReadExponent() {
        if (Next() != u'e' && Next() != u'E') { return true; }
        Take();
        m_isWhole = false;
        m_plain += 'e';
        if (IsSign(Next())) {
            m_tiny = Next() == u'-';
            const char sign = static_cast<char>(Take());
            m_plain += sign;
        }
        const bool any = IsDigit(Next());
        while (IsDigit(Next())) {
            m_plain += static_cast<char>(Take());
        }
        return any;
    }

    bool ReadBack() {
        bool open = m_inParentheses;
        while (!m_rest.empty() && Next() != 0) {
            if (IsSign(Next())) {
                if (m_inParentheses || !TakeSign()) { return false; }
                continue;
            }
            const char16_t next = Take();
            if (next == u')' && open) {
                open = false;
            } else if (!IsBlank(next)) {
                return false;
            }
        }
        return !open;
    }

    bool ToWhole(Number& number) const {
        uint64_t magnitude = 0;
        const char* const end = m_plain.data() + m_plain.size();
        if (std::from_chars(m_plain.data(), end, magnitude).ec != std::errc() ||
            (m_negative && magnitude > uint64_t{1} << 63)) {
            return false; // may still fit a real
        }
        number = Unsigned(m_negative ? 0 - magnitude : magnitude, 0);
        number.negative = m_negative && magnitude != 0;
        return true;
    }

    HRESULT ToReal(Number& number) const {
        double value = 0;
        const auto [end, error] = std::from_chars(m_plain.data(), m_plain.data() + m_plain.size(), value);
        if (error == std::errc::result_out_of_range) {
            if (!m_tiny) { return DISP_E_OVERFLOW; }
            value = 0;
        }
        number = Real(m_negative ? -value : value, 15);
        return S_OK;
    }

    std::u16string_view m_rest;
    std::string m_plain; // the number in the form that from_chars accepts
    bool m_isWhole = true;
    bool m_tiny = false;
    bool m_negative = false;
    bool m_hasSign = false;
    bool m_inParentheses = false;
};
} // namespace

std::optional<Number> LXPlatformNumber::FromValue(const VARIANT& value) {
    switch (value.vt) {
    case VT_EMPTY: return Whole(0, 0);
    case VT_I1: return Whole(static_cast<signed char>(value.cVal), 1);
    case VT_I2: return Whole(value.iVal, 2);
    case VT_BOOL: return Boolean(value.boolVal);
    case VT_I4:
    case VT_INT: return Whole(value.lVal, 4);
    case VT_I8: return Whole(value.llVal, 8);
    case VT_UI1: return Unsigned(value.bVal, 1);
    case VT_UI2: return Unsigned(value.uiVal, 2);
    case VT_UI4:
    case VT_UINT: return Unsigned(value.ulVal, 4);
    case VT_UI8: return Unsigned(value.ullVal, 8);
    case VT_R4: return Real(static_cast<double>(value.fltVal), 7);
    case VT_R8: return Real(value.dblVal, 15);
    default: return std::nullopt;
    }
}

HRESULT LXPlatformNumber::FromText(std::u16string_view text, Number& number) { return TextNumber(text).Read(number); }

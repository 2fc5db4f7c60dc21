// SPDX-License-Identifier: MIT
#include "XModelValue.h"

#include <stdexcept>

namespace {
void AppendUtf16(XLXText& text, std::uint32_t point) {
    if (point >= 0x10000) {
        point -= 0x10000;
        text.push_back(static_cast<OLECHAR>(0xD800 + (point >> 10)));
        point = 0xDC00 + (point & 0x3FF);
    }
    text.push_back(static_cast<OLECHAR>(point));
}

void AppendUtf8(std::string& text, std::uint32_t point) {
    const auto append = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        append(point);
        return;
    }
    const int tail = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    append((0xFF00u >> (tail + 1) & 0xFF) | point >> (6 * tail)); // 110, 1110 or 11110, then the top bits
    for (int shift = 6 * (tail - 1); shift >= 0; shift -= 6) {
        append(0x80 | (point >> shift & 0x3F));
    }
}

/// The number of bytes that follow a first byte; -1 for an invalid first byte.
int TailLength(unsigned char first) {
    return first < 0x80 ? 0 : first < 0xC0 ? -1 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : first < 0xF8 ? 3 : -1;
}
} // namespace

XLXText LXFromUtf8(std::string_view text) {
    XLXText wide;
    wide.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i++]);
        const int tail = TailLength(first);
        bool valid = tail >= 0 && text.size() - i >= static_cast<size_t>(tail);
        std::uint32_t point = tail <= 0 ? first : first & (0x3Fu >> tail);
        for (int k = 0; valid && k < tail; ++k) {
            const auto next = static_cast<unsigned char>(text[i++]);
            point = point << 6 | (next & 0x3F);
            valid = (next & 0xC0) == 0x80;
        }
        if (!valid) { throw std::invalid_argument("text is not UTF-8"); }
        AppendUtf16(wide, point);
    }
    return wide;
}

std::string LXToUtf8(XLXTextView text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        std::uint32_t point = static_cast<std::uint16_t>(text[i]);
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<std::uint32_t>(text[++i]) & 0x3FF);
        }
        AppendUtf8(narrow, point);
    }
    return narrow;
}

std::int32_t XModelValue::AsLong() const noexcept {
    const auto* const number = std::get_if<std::int32_t>(&m_content);
    return number != nullptr ? *number : 0;
}

bool XModelValue::AsBool() const noexcept {
    const auto* const truth = std::get_if<bool>(&m_content);
    return truth != nullptr ? *truth : AsLong() != 0;
}

const XLXText& XModelValue::AsText() const noexcept {
    static const XLXText none;
    const auto* const text = std::get_if<XLXText>(&m_content);
    return text != nullptr ? *text : none;
}

XLXComVariant XModelValue::ToVariant() const {
    struct Maker {
        XLXComVariant operator()(std::monostate) const { return XLXComVariant(); }
        XLXComVariant operator()(std::int32_t value) const { return XLXComVariant::FromI4(value); }
        XLXComVariant operator()(bool value) const { return XLXComVariant::FromBool(value); }
        XLXComVariant operator()(double value) const { return XLXComVariant::FromDouble(value); }
        XLXComVariant operator()(const XLXText& value) const { return XLXComVariant::FromBstr(value); }
    };
    return std::visit(Maker(), m_content);
}

XModelValue XModelValue::FromVariant(const VARIANT& value) {
    switch (V_VT(&value)) {
    case VT_EMPTY: return {};
    case VT_I4: return V_I4(&value);
    case VT_I2: return V_I2(&value);
    case VT_BOOL: return V_BOOL(&value) != VARIANT_FALSE;
    case VT_R8: return V_R8(&value);
    case VT_BSTR: return LXBstrView(V_BSTR(&value));
    default: throw std::invalid_argument("a model cannot hold values of this VARIANT type");
    }
}

// SPDX-License-Identifier: MIT
//
// Texts and values of the sample server's model. They are plain values, without shared state.
//
// Errors     Text that is not valid UTF-8 raises std::invalid_argument.
#ifndef XMODELVALUE_H
#define XMODELVALUE_H

#include "XLXComVariant.h"

#include <concepts>
#include <string>
#include <string_view>
#include <variant>

XLXText LXFromUtf8(std::string_view text);
std::string LXToUtf8(XLXTextView text);

/// A text argument, narrow (UTF-8) or wide.
class XText {
public:
    XText(const char* utf8) : m_text(LXFromUtf8(utf8)) {}
    XText(const std::string& utf8) : m_text(LXFromUtf8(utf8)) {}
    XText(std::string_view utf8) : m_text(LXFromUtf8(utf8)) {}
    XText(const OLECHAR* text) : m_text(text != nullptr ? text : OLESTR("")) {}
    XText(XLXText text) : m_text(std::move(text)) {}
    XText(XLXTextView text) : m_text(text) {}

    const XLXText& Get() const noexcept { return m_text; }
    operator const XLXText&() const noexcept { return m_text; }

private:
    XLXText m_text;
};

/// The value of a property or an attribute: empty, an integer, a boolean, a real number or a text.
class XModelValue {
public:
    using Content = std::variant<std::monostate, std::int32_t, bool, double, XLXText>;

    XModelValue() = default;
    XModelValue(bool value) : m_content(value) {}
    template <std::integral T>
    requires(!std::same_as<T, bool>) XModelValue(T value) : m_content(static_cast<std::int32_t>(value)) {}
    XModelValue(double value) : m_content(value) {}
    XModelValue(const char* utf8) : m_content(LXFromUtf8(utf8)) {}
    XModelValue(const std::string& utf8) : m_content(LXFromUtf8(utf8)) {}
    XModelValue(const OLECHAR* text) : m_content(XLXText(text)) {}
    XModelValue(XLXText text) : m_content(std::move(text)) {}
    XModelValue(XLXTextView text) : m_content(XLXText(text)) {}
    XModelValue(const XText& text) : m_content(text.Get()) {}

    const Content& Get() const noexcept { return m_content; }
    bool Empty() const noexcept { return m_content.index() == 0; }
    /// The number; 0 for any other value.
    std::int32_t AsLong() const noexcept;
    /// Whether the value is true or a number other than 0.
    bool AsBool() const noexcept;
    /// The text; empty for any other value.
    const XLXText& AsText() const noexcept;

    /// The value as a VARIANT: VT_EMPTY, VT_I4, VT_BOOL, VT_R8 or VT_BSTR.
    XLXComVariant ToVariant() const;
    /// The value of a VARIANT; raises std::invalid_argument for a type that a model cannot hold.
    static XModelValue FromVariant(const VARIANT& value);

    bool operator==(const XModelValue&) const = default;

private:
    Content m_content;
};

#endif

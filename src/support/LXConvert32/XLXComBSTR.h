// SPDX-License-Identifier: MIT
//
// XLXComBSTR owns a BSTR. A null BSTR is an empty text.
#ifndef XLXCOMBSTR_H
#define XLXCOMBSTR_H

#include "XLXError.h"

#include <utility>
#include <vector>

/// The whole text of a BSTR, including embedded nulls; empty for null.
inline XLXTextView LXBstrView(BSTR text) noexcept {
    return text != nullptr ? XLXTextView(text, SysStringLen(text)) : XLXTextView();
}

class XLXComBSTR {
public:
    XLXComBSTR() noexcept = default;
    /// Copies a text; throws std::bad_alloc.
    explicit XLXComBSTR(XLXTextView text) : m_text(Allocate(text)) {}
    XLXComBSTR(const XLXComBSTR& other) : m_text(other.m_text != nullptr ? Allocate(other.View()) : nullptr) {}
    XLXComBSTR(XLXComBSTR&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    ~XLXComBSTR() { SysFreeString(m_text); }
    XLXComBSTR& operator=(XLXComBSTR other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }

    BSTR Get() const noexcept { return m_text; }
    XLXTextView View() const noexcept { return LXBstrView(m_text); }

    BSTR* Put() noexcept {
        Attach(nullptr);
        return &m_text;
    }
    void Attach(BSTR text) noexcept { SysFreeString(std::exchange(m_text, text)); }
    [[nodiscard]] BSTR Detach() noexcept { return std::exchange(m_text, nullptr); }

private:
    static BSTR Allocate(XLXTextView text);

    BSTR m_text = nullptr;
};

/// The text in lower case, character by character, by Unicode's simple mappings. Lone surrogates stay.
XLXText LXLowerCase(XLXTextView text);

/// The decimal number at the beginning of a text, as wcstol reads it; 0 if there is none.
LONG LXParseDecimal(XLXTextView text) noexcept;

#endif

// SPDX-License-Identifier: MIT
//
// XLXComBSTR owns a BSTR. A null BSTR and an empty one are the same text.
#ifndef XLXCOMBSTR_H
#define XLXCOMBSTR_H

#include "XLXError.h"

#include <utility>
#include <vector>

/// The text of a BSTR over its whole length; empty for null.
inline XLXTextView LXBstrView(BSTR text) noexcept {
    return text != nullptr ? XLXTextView(text, SysStringLen(text)) : XLXTextView();
}

class XLXComBSTR {
public:
    XLXComBSTR() noexcept = default;
    /// Copies a text; raises E_OUTOFMEMORY.
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

/// Gives texts to a caller, who frees each with SysFreeString and the buffer with CoTaskMemFree. No texts are the
/// count 0 and null.
void LXHandOutTexts(const std::vector<XLXText>& texts, LONG* count, BSTR** out);

/// The text with the capital letters of every script made small, one character for one (Unicode's simple mappings).
/// Halves of surrogate pairs stay.
XLXText LXLowerCase(XLXTextView text);

/// A decimal number at the front of a text, as the C library's wcstol reads it; 0 when there is none.
LONG LXParseDecimal(XLXTextView text) noexcept;

#endif

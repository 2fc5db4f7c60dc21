// SPDX-License-Identifier: MIT
#include "XCFGStringKey.h"

namespace
{
constexpr bool IsHighSurrogate(unsigned unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLowSurrogate(unsigned unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

constexpr char Continuation(unsigned long code, int shift)
{
    return static_cast<char>(0x80 | ((code >> shift) & 0x3F));
}

void AppendUtf8(std::string& to, unsigned long code)
{
    if (code < 0x80)
    {
        to.push_back(static_cast<char>(code));
    }
    else if (code < 0x800)
    {
        to.push_back(static_cast<char>(0xC0 | (code >> 6)));
        to.push_back(Continuation(code, 0));
    }
    else if (code < 0x10000)
    {
        to.push_back(static_cast<char>(0xE0 | (code >> 12)));
        to.push_back(Continuation(code, 6));
        to.push_back(Continuation(code, 0));
    }
    else
    {
        to.push_back(static_cast<char>(0xF0 | (code >> 18)));
        to.push_back(Continuation(code, 12));
        to.push_back(Continuation(code, 6));
        to.push_back(Continuation(code, 0));
    }
}

constexpr unsigned long Payload(char byte)
{
    return static_cast<unsigned char>(byte) & 0x3Fu;
}
} // namespace

XCFGStringKey::XCFGStringKey(XLXTextView name)
{
    m_bytes.reserve(name.size());
    for (std::size_t at = 0; at < name.size(); ++at)
    {
        unsigned long code = static_cast<unsigned>(name[at]) & 0xFFFFu;
        if (IsHighSurrogate(static_cast<unsigned>(code)) && at + 1 < name.size() && IsLowSurrogate(name[at + 1]))
        {
            code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<unsigned long>(name[++at]) - 0xDC00);
        }
        AppendUtf8(m_bytes, code);
    }
}

std::optional<XCFGStringKey> XCFGStringKey::Of(const XLXComVariant& name)
{
    if (name.Type() == VT_BSTR)
    {
        return XCFGStringKey(LXBstrView(V_BSTR(&name.Get()))); // nearly always, and without a copy of the text
    }
    const auto text = name.Empty() ? std::nullopt : name.AsText();
    return text ? std::optional<XCFGStringKey>(*text) : std::nullopt;
}

XLXText XCFGStringKey::Text() const
{
    XLXText text;
    for (std::size_t at = 0; at < m_bytes.size();)
    {
        const auto lead = static_cast<unsigned char>(m_bytes[at]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        unsigned long code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i)
        {
            code = (code << 6) | Payload(m_bytes[at + i]);
        }
        at += length;
        if (code >= 0x10000)
        {
            text.push_back(static_cast<OLECHAR>(0xD800 + ((code - 0x10000) >> 10)));
            code = 0xDC00 + ((code - 0x10000) & 0x3FF);
        }
        text.push_back(static_cast<OLECHAR>(code));
    }
    return text;
}

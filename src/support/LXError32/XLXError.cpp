// SPDX-License-Identifier: MIT
#include "XLXError.h"

#include <atomic>
#include <new>

namespace {
constexpr const OLECHAR* OutOfMemoryText = OLESTR("out of memory");
constexpr const OLECHAR* UnknownErrorText = OLESTR("unknown error");

void Widen(XLXText& to, const char* ascii) {
    for (; *ascii != '\0'; ++ascii) {
        to.push_back(static_cast<OLECHAR>(static_cast<unsigned char>(*ascii)));
    }
}

/// The exception's text, widened into text. Without memory it is a fixed text.
const OLECHAR* WhatOf(const std::exception& error, XLXText& text) noexcept {
    try {
        Widen(text, error.what());
        return text.empty() ? UnknownErrorText : text.c_str();
    } catch (...) { return OutOfMemoryText; }
}

/// Calls use(code, text, location) for the current exception; use must not raise. This is the only place that maps
/// exceptions to codes and texts.
template <class Use> auto Translate(const LXErrorLocation& at, Use&& use) noexcept {
    try {
        throw;
    } catch (const XLXException& error) {
        return use(error.Code(), error.Message().c_str(), error.Location());
    } catch (const std::bad_alloc&) {
        return use(E_OUTOFMEMORY, OutOfMemoryText, at);
    } catch (const std::exception& error) {
        XLXText text;
        return use(E_FAIL, WhatOf(error, text), at);
    } catch (...) { return use(E_UNEXPECTED, UnknownErrorText, at); }
}

void WriteEntry(LXLogCategory category, LONG severity, HRESULT code, const OLECHAR* title, XLXTextView text,
                const LXErrorLocation& at) noexcept {
    LXLogEntry entry{0, category, nullptr, severity, code, title, OutOfMemoryText, at};
    try {
        const XLXText copy(text);
        entry.pszText = copy.c_str();
        LXErrorWriteLog(&entry);
    } catch (...) { LXErrorWriteLog(&entry); }
}
} // namespace

namespace XLXError {
void Raise(HRESULT code, XLXTextView message, const LXErrorLocation& at) { throw XLXException(code, message, at); }

void RaisePointer(XLXTextView argumentName, const LXErrorLocation& at) {
    Raise(E_POINTER, XLXFormat() << "invalid pointer: " << argumentName, at);
}

HRESULT RefusePointer(XLXTextView argumentName, const LXErrorLocation& at) noexcept {
    return Guarded(at, [&]() -> HRESULT { RaisePointer(argumentName, at); });
}

HRESULT SetComErrorFromException(const LXErrorLocation& at) noexcept { return Translate(at, SetComAppError); }

void WriteErrorToLogBook(HRESULT code, LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept {
    WriteEntry(LX_LOG_ERROR, severity, code, OLESTR(""), text, at);
}

void WriteExceptionToLogBook(LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept {
    Translate(at, [&](HRESULT code, const OLECHAR* what, const LXErrorLocation&) noexcept {
        try {
            XLXFormat format;
            format << text << (text.empty() || *what == 0 ? "" : ": ") << XLXTextView(what);
            WriteErrorToLogBook(code, severity, format, at);
        } catch (...) { WriteErrorToLogBook(code, severity, OutOfMemoryText, at); }
    });
}

bool TraceEnabled(LXLogCategory category) noexcept {
    static LONG* const wanted = const_cast<LONG*>(LXErrorWantedCategories());
    return (std::atomic_ref<LONG>(*wanted).load(std::memory_order_relaxed) & (LONG{1} << category)) != 0;
}

void WriteTrace(LXLogCategory category, const OLECHAR* title, XLXTextView text, const LXErrorLocation& at) noexcept {
    WriteEntry(category, 0, S_OK, title, text, at);
}
} // namespace XLXError

XLXFormat& XLXFormat::operator<<(const char* ascii) {
    Widen(m_text, ascii);
    return *this;
}

XLXFormat& XLXFormat::operator<<(LONG number) { return *this << std::to_string(number).c_str(); }

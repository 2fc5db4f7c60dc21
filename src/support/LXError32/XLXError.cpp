// SPDX-License-Identifier: MIT
#include "XLXError.h"

#include <atomic>
#include <new>

namespace {
constexpr const OLECHAR* OutOfMemoryText = OLESTR("out of memory");
constexpr const OLECHAR* UnknownErrorText = OLESTR("unknown error");

/// What an exception says, in a form that needs no memory of its own.
struct Caught {
    HRESULT code = E_UNEXPECTED;
    XLXText text;
    const OLECHAR* fallback = UnknownErrorText;
    LXErrorLocation at{};

    const OLECHAR* Text() const noexcept { return text.empty() ? fallback : text.c_str(); }
};

void Widen(XLXText& to, const char* ascii) {
    for (; *ascii != '\0'; ++ascii) {
        to.push_back(static_cast<OLECHAR>(static_cast<unsigned char>(*ascii)));
    }
}

void TakeText(Caught& result, auto&& take) noexcept {
    try {
        take(result.text);
    } catch (...) { result.fallback = OutOfMemoryText; }
}

// The one translator: every kind of exception has one fixed answer, given here.
Caught Translate(const LXErrorLocation& at) noexcept {
    Caught result;
    result.at = at;
    try {
        throw;
    } catch (const XLXException& error) {
        result.code = error.Code();
        result.at = error.Location();
        result.fallback = OLESTR("");
        TakeText(result, [&](XLXText& text) { text = error.Message(); });
    } catch (const std::bad_alloc&) {
        result.code = E_OUTOFMEMORY;
        result.fallback = OutOfMemoryText;
    } catch (const std::exception& error) {
        result.code = E_FAIL;
        TakeText(result, [&](XLXText& text) { Widen(text, error.what()); });
    } catch (...) { result.code = E_UNEXPECTED; }
    return result;
}

void WriteEntry(LXLogCategory category, LONG severity, HRESULT code, XLXTextView title, XLXTextView text,
                const LXErrorLocation& at) noexcept {
    LXLogEntry entry{};
    entry.eCategory = category;
    entry.lSeverity = severity;
    entry.hrCode = code;
    entry.location = at;
    entry.pszTitle = OLESTR("");
    try {
        const XLXText titleCopy(title);
        const XLXText textCopy(text);
        entry.pszTitle = titleCopy.c_str();
        entry.pszText = textCopy.c_str();
        LXErrorWriteLog(&entry);
    } catch (...) {
        entry.pszText = OutOfMemoryText;
        LXErrorWriteLog(&entry);
    }
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

HRESULT SetComAppError(HRESULT code, XLXTextView message, const LXErrorLocation& at) noexcept {
    try {
        return LXErrorSetInfo(code, XLXText(message).c_str(), &at);
    } catch (...) { return LXErrorSetInfo(code, OutOfMemoryText, &at); }
}

HRESULT SetComErrorFromException(const LXErrorLocation& at) noexcept {
    const Caught caught = Translate(at);
    return LXErrorSetInfo(caught.code, caught.Text(), &caught.at);
}

void WriteErrorToLogBook(HRESULT code, LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept {
    WriteEntry(LX_LOG_ERROR, severity, code, {}, text, at);
}

void WriteExceptionToLogBook(LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept {
    const Caught caught = Translate(at);
    try {
        XLXFormat format;
        format << text;
        if (!text.empty() && *caught.Text() != 0) { format << ": "; }
        WriteErrorToLogBook(caught.code, severity, (format << XLXTextView(caught.Text())).Text(), at);
    } catch (...) { WriteErrorToLogBook(caught.code, severity, OutOfMemoryText, at); }
}

bool TraceEnabled(LXLogCategory category) noexcept {
    static LONG* const wanted = const_cast<LONG*>(LXErrorWantedCategories());
    return (std::atomic_ref<LONG>(*wanted).load(std::memory_order_relaxed) & (LONG{1} << category)) != 0;
}

void WriteTrace(LXLogCategory category, XLXTextView title, XLXTextView text, const LXErrorLocation& at) noexcept {
    if (TraceEnabled(category)) { WriteEntry(category, 0, S_OK, title, text, at); }
}
} // namespace XLXError

XLXFormat& XLXFormat::operator<<(const char* ascii) {
    Widen(m_text, ascii);
    return *this;
}

XLXFormat& XLXFormat::operator<<(LONG number) { return *this << std::to_string(number).c_str(); }

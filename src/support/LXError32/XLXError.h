// SPDX-License-Identifier: MIT
//
// The C++ side of LXError32, compiled into every module that uses it: exceptions never leave a module.
//
// Inside the component a failure is an XLXException. At every interface boundary XLXError::Guarded turns whatever is
// in flight into an HRESULT and the thread's error information; no method has catch blocks of its own. A call that
// succeeds, or that refuses with a bare code, leaves the error information alone.
#ifndef XLXERROR_H
#define XLXERROR_H

#include "LXCompiler.h"
#include "LXError32.h"
#include "XLXText.h"

#include <exception>
#include <type_traits>

/// A location whose line is that of the call, unless one is given.
constexpr LXErrorLocation LXHere(const char* source, const char* scope, const char* method,
                                 int line = LX_CURRENT_LINE) {
    return {source, scope, method, line};
}

/// A failure inside the component: an HRESULT, a message, and where it was noticed.
class XLXException final : public std::exception {
public:
    XLXException(HRESULT code, XLXTextView message, const LXErrorLocation& at)
        : m_code(code), m_message(message), m_location(at) {}

    HRESULT Code() const noexcept { return m_code; }
    const XLXText& Message() const noexcept { return m_message; }
    const LXErrorLocation& Location() const noexcept { return m_location; }
    const char* what() const noexcept override { return "XLXException"; }

private:
    HRESULT m_code;
    XLXText m_message;
    LXErrorLocation m_location;
};

namespace XLXError {
/// Severity of an entry for a failure that a clean-up met and went on from.
constexpr LONG SeverityCleanUp = 6;
/// Severity of an entry for a failure that the operation went on from.
constexpr LONG SeverityError = 4;
/// Severity of an entry for a misuse of the component's own parts.
constexpr LONG SeveritySystem = 8;

[[noreturn]] void Raise(HRESULT code, XLXTextView message, const LXErrorLocation& at);

/// Raises the result when it is a failure. The message may be null.
inline void RaiseIfFailed(HRESULT result, const OLECHAR* message, const LXErrorLocation& at) {
    if (FAILED(result)) { Raise(result, message != nullptr ? XLXTextView(message) : XLXTextView(), at); }
}

[[noreturn]] void RaisePointer(XLXTextView argumentName, const LXErrorLocation& at);

/// Raises E_POINTER with "invalid pointer: <name>" when the pointer is null.
inline void CheckPointer(const void* pointer, const OLECHAR* argumentName, const LXErrorLocation& at) {
    if (pointer == nullptr) { RaisePointer(argumentName, at); }
}

/// The same without raising: sets the thread's error information.
HRESULT RefusePointer(XLXTextView argumentName, const LXErrorLocation& at) noexcept;

/// Sets the thread's error information and returns the code, for errors that need no exception.
inline HRESULT SetComAppError(HRESULT code, const OLECHAR* message, const LXErrorLocation& at) noexcept {
    return LXErrorSetInfo(code, message, &at);
}

/// Turns the exception in flight into an HRESULT and the thread's error information. Only for catch (...).
HRESULT SetComErrorFromException(const LXErrorLocation& at) noexcept;

/// Writes an error to the logbook. Not to be called while a lock of the component is held.
void WriteErrorToLogBook(HRESULT code, LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept;

/// Writes the exception in flight to the logbook, with a text in front when one is given.
void WriteExceptionToLogBook(LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept;

/// Whether entries of a category are wanted: one relaxed load.
bool TraceEnabled(LXLogCategory category) noexcept;

/// Writes a trace entry when its category is wanted.
void WriteTrace(LXLogCategory category, const OLECHAR* title, XLXTextView text, const LXErrorLocation& at) noexcept;

/// The boundary: runs a callable that returns an HRESULT, and lets no exception pass.
template <class F> HRESULT Guarded(const LXErrorLocation& at, F&& body) noexcept {
    static_assert(std::is_same_v<std::invoke_result_t<F>, HRESULT>, "the body answers an HRESULT, nothing else");
    try {
        return body();
    } catch (...) { return SetComErrorFromException(at); }
}

/// A step of a clean-up: a failure is written to the logbook with the text, and the next step goes on.
template <class F> void LogFailure(XLXTextView text, const LXErrorLocation& at, F&& step) noexcept {
    try {
        step();
    } catch (...) { WriteExceptionToLogBook(SeverityCleanUp, text, at); }
}
} // namespace XLXError

/// Checks an out pointer, and empties what it points to: the first thing that a method does.
template <class T> void LXCheckOut(T** out, const OLECHAR* name, const LXErrorLocation& at) {
    XLXError::CheckPointer(out, name, at);
    *out = nullptr;
}

/// Texts from parts: wide text, narrow ASCII literals and numbers.
class XLXFormat {
public:
    XLXFormat& operator<<(XLXTextView text) {
        m_text.append(text);
        return *this;
    }
    XLXFormat& operator<<(const char* ascii);
    XLXFormat& operator<<(LONG number);
    operator XLXText() const { return m_text; }
    operator XLXTextView() const noexcept { return m_text; }

private:
    XLXText m_text;
};

#endif

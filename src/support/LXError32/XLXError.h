// SPDX-License-Identifier: MIT
//
// The C++ side of LXError32. Each module compiles it for itself, because exceptions must not leave a module.
//
// Inside the component a failure is an XLXException. At every interface boundary XLXError::Guarded turns exceptions
// into an HRESULT and the thread's error information; methods have no catch blocks of their own. A call that succeeds,
// or that fails with a bare code, does not change the error information.
#ifndef XLXERROR_H
#define XLXERROR_H

#include "LXCompiler.h"
#include "LXError32.h"
#include "XLXText.h"

#include <exception>
#include <type_traits>

/// An error location with the line of the caller, unless a line is given.
constexpr LXErrorLocation LXHere(const char* source, const char* scope, const char* method,
                                 int line = LX_CURRENT_LINE) {
    return {source, scope, method, line};
}

/// A failure inside the component: an HRESULT, a message and a location.
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
/// Severity of a failure that a clean-up logs before it continues.
constexpr LONG SeverityCleanUp = 6;
/// Severity of a failure that an operation logs before it continues.
constexpr LONG SeverityError = 4;
/// Severity of misuse of the component's internals.
constexpr LONG SeveritySystem = 8;

[[noreturn]] void Raise(HRESULT code, XLXTextView message, const LXErrorLocation& at);

/// Raises result if it is a failure. The message may be null.
inline void RaiseIfFailed(HRESULT result, const OLECHAR* message, const LXErrorLocation& at) {
    if (FAILED(result)) { Raise(result, message != nullptr ? XLXTextView(message) : XLXTextView(), at); }
}

[[noreturn]] void RaisePointer(XLXTextView argumentName, const LXErrorLocation& at);

/// Raises E_POINTER with "invalid pointer: <name>" if the pointer is null.
inline void CheckPointer(const void* pointer, const OLECHAR* argumentName, const LXErrorLocation& at) {
    if (pointer == nullptr) { RaisePointer(argumentName, at); }
}

/// As CheckPointer, but sets the thread's error information and returns the code.
HRESULT RefusePointer(XLXTextView argumentName, const LXErrorLocation& at) noexcept;

/// Sets the thread's error information and returns the code, without an exception.
inline HRESULT SetComAppError(HRESULT code, const OLECHAR* message, const LXErrorLocation& at) noexcept {
    return LXErrorSetInfo(code, message, &at);
}

/// Turns the current exception into an HRESULT and the thread's error information. Only for catch (...).
HRESULT SetComErrorFromException(const LXErrorLocation& at) noexcept;

/// Writes an error to the logbook. Must not be called while a lock of the component is held.
void WriteErrorToLogBook(HRESULT code, LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept;

/// Writes the current exception to the logbook, prefixed with the text if one is given.
void WriteExceptionToLogBook(LONG severity, XLXTextView text, const LXErrorLocation& at) noexcept;

/// Whether entries of a category are enabled: one relaxed load.
bool TraceEnabled(LXLogCategory category) noexcept;

/// Writes a trace entry if its category is enabled.
void WriteTrace(LXLogCategory category, const OLECHAR* title, XLXTextView text, const LXErrorLocation& at) noexcept;

/// The exception boundary: runs a callable that returns an HRESULT and converts its exceptions.
template <class F> HRESULT Guarded(const LXErrorLocation& at, F&& body) noexcept {
    static_assert(std::is_same_v<std::invoke_result_t<F>, HRESULT>, "the body answers an HRESULT, nothing else");
    try {
        return body();
    } catch (...) { return SetComErrorFromException(at); }
}

/// One step of a clean-up: logs a failure with the text, so that the next step can run.
template <class F> void LogFailure(XLXTextView text, const LXErrorLocation& at, F&& step) noexcept {
    try {
        step();
    } catch (...) { WriteExceptionToLogBook(SeverityCleanUp, text, at); }
}
} // namespace XLXError

/// Checks an out pointer and nulls its target. Every method with an out pointer does this first.
template <class T> void LXCheckOut(T** out, const OLECHAR* name, const LXErrorLocation& at) {
    XLXError::CheckPointer(out, name, at);
    *out = nullptr;
}

/// Builds texts from wide text, narrow ASCII literals and numbers.
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

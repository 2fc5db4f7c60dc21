// SPDX-License-Identifier: MIT
//
// Reading a transfer array in sequence, element by element.
//
// Ownership  A reader owns the array that it is given and moves texts, values and objects out of it; the elements
//            left become VT_EMPTY. The array ends with the reader, and so does what was not read.
// Threading  A reader belongs to one thread. The end of an array may release objects, which is foreign code: no lock
//            may be held.
// Errors     What does not fit the format raises E_INVALIDARG with a fixed text. Counts are compared with the
//            elements that remain before anything is allocated for them. The logbook says where the array was
//            refused.
#ifndef XARRAYREADER_H
#define XARRAYREADER_H

#include "LXCompiler.h"
#include "XLXError.h"
#include "XTransferRecords.h"

#include <algorithm>
#include <memory>
#include <span>

namespace XLXCFCDataTransfer {
/// The location of an error in a function of this namespace.
constexpr LXErrorLocation TransferAt(const char* method, int line = LX_CURRENT_LINE) {
    return {"XCFCDataTransfer", "XLXCFCDataTransfer", method, line};
}

/// What is known of an array beforehand, for the logbook.
struct XArrayOrigin {
    const char* section = "header"; ///< the part of the array that is read first; a literal
    XLXTextView type{};             ///< whose data it carries; empty when it is not known, or not one type's
};

/// What a record is about, for the logbook; empty for what is not known.
struct XArraySubject {
    XLXTextView type{};
    XLXTextView attribute{};
};

class XArrayReader {
public:
    /// Opens an array of one dimension of variants, with any lower bound.
    /// @param least   the elements that it must have at least
    /// @param method  the function that reads it, for error locations
    /// @param origin  its texts must be there as long as the reader is
    XArrayReader(XLXSafeArray array, ULONG least, const char* method, const XArrayOrigin& origin = {});
    XArrayReader(const XArrayReader&) = delete;

    /// Runs what reads the array. A refusal is written to the logbook with the place that was read, and goes on. Only
    /// then the record is asked what it is about.
    template <class Body, class Describe = XArraySubject (&)()>
    void Reading(Body&& body, Describe&& describe = Nothing) {
        try {
            body();
        } catch (const XLXException& refusal) {
            LogRefusal(refusal, describe());
            throw;
        }
        Finish();
    }
    /// Another part of the array follows, whose name is a literal.
    void Enter(const char* section) noexcept { m_section = section; }

    /// Reads the header, which must be this one.
    void ReadHeader(EMappingAlgorithm algorithm, EWrapperId wrapper);

    ULONG Remaining() const noexcept { return m_count - m_index; }

    /// The next element, for the caller to read or to empty.
    VARIANT& Next(const char* method) { return Next(1, method).front().Get(); }
    /// The next elements.
    std::span<XLXComVariant> Next(ULONG count, const char* method) {
        m_at = m_index;
        CheckRemaining(count, method);
        const std::span<XLXComVariant> elements(m_data + m_index, count);
        m_index += count;
        return elements;
    }
    /// The next elements, none of which refers to a value that is somebody else's: who keeps them may do so.
    std::span<XLXComVariant> NextOwned(ULONG count, const char* method);
    /// The next elements as values.
    XVariantRow Values(ULONG count) { return XVariantRow(NextOwned(count, "VecFromSafeArray")); }

    /// Asks for the memory of an element so many further on, when there is one.
    void Prefetch(ULONG ahead) const noexcept {
        if (ahead < Remaining()) { LX_PREFETCH(m_data + m_index + ahead); }
    }

    /// Raises "wrong safearray size" unless so many elements remain.
    void CheckRemaining(ULONG count, const char* method) const {
        if (count > Remaining()) { RaiseSize(method); }
    }
    [[noreturn]] static void RaiseSize(const char* method);

private:
    static XArraySubject Nothing() { return {}; }
    void Open(XLXSafeArray owned, ULONG least);
    void Finish() noexcept;
    void LogRefusal(const XLXException& refusal, const XArraySubject& subject) const noexcept;

    std::unique_ptr<SAFEARRAY, void (*)(SAFEARRAY*)> m_array; ///< its elements can be reached as long as it is there
    const char* const m_method;
    const char* m_section;
    const XLXTextView m_type;
    XLXComVariant* m_data = nullptr;
    ULONG m_count = 0;
    ULONG m_index = 0;
    ULONG m_at = 0; ///< the first of the elements that were asked for last
};

/// The next element as a value of a kind. No type is converted to another. A text, and a reference to an object (which
/// may be null), is taken over and leaves VT_EMPTY.
void FromSafeArray(XArrayReader& from, LONG& value);
void FromSafeArray(XArrayReader& from, ULONG& value);
void FromSafeArray(XArrayReader& from, bool& value);
void FromSafeArray(XArrayReader& from, XLXText& value);
void FromSafeArray(XArrayReader& from, XLXComPtr<IUnknown>& value);

template <class T> T FromSafeArray(XArrayReader& from) {
    T value{};
    FromSafeArray(from, value);
    return value;
}

/// A sub-array: a count, and the elements that go into a new array.
XLXSafeArray SafeArrayFromSafeArray(XArrayReader& from);

/// The count in front of a vector, at most the number of elements that remain.
ULONG VecCountFromSafeArray(XArrayReader& from);
} // namespace XLXCFCDataTransfer

#endif

// SPDX-License-Identifier: MIT
//
// Reads a transfer array sequentially.
//
// Ownership  A reader owns its array and moves texts, values and objects out of it; elements that were moved out become
//            VT_EMPTY. The reader destroys the array with the elements that were not read.
// Threading  Not thread-safe. Destroying an array may release objects, which is foreign code: no lock may be held.
// Errors     Elements that do not fit the format raise E_INVALIDARG with a fixed text. Counts are compared with the
//            number of remaining elements before anything is allocated for them. The logbook records the position.
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

/// What the caller knows about an array, for the logbook.
struct XArrayOrigin {
    const char* section = "header"; ///< the part of the array that is read first; a literal
    XLXTextView type{};             ///< name of the type that the array belongs to; empty if unknown or not one type
};

/// The names that a record belongs to, for the logbook; empty if unknown.
struct XArraySubject {
    XLXTextView type{};
    XLXTextView attribute{};
};

class XArrayReader {
public:
    /// Opens an array of one dimension of variants, with any lower bound.
    /// @param least   minimum number of elements
    /// @param method  the function that reads the array, for error locations
    /// @param origin  its texts must outlive the reader
    XArrayReader(XLXSafeArray array, ULONG least, const char* method, const XArrayOrigin& origin = {});
    XArrayReader(const XArrayReader&) = delete;

    /// Runs the body that reads the array. An exception is logged with the position in the array and rethrown.
    /// @param describe  returns the subject of the record that was read; called only after an exception
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
    /// Begins another part of the array; its name is a literal.
    void Enter(const char* section) noexcept { m_section = section; }

    /// Reads the header and raises if it differs.
    void ReadHeader(EMappingAlgorithm algorithm, EWrapperId wrapper);

    ULONG Remaining() const noexcept { return m_count - m_index; }

    /// The next element, which the caller reads or moves out.
    VARIANT& Next(const char* method) { return Next(1, method).front().Get(); }
    /// The next elements.
    std::span<XLXComVariant> Next(ULONG count, const char* method) {
        m_at = m_index;
        CheckRemaining(count, method);
        const std::span<XLXComVariant> elements(m_data + m_index, count);
        m_index += count;
        return elements;
    }
    /// The next elements, with VT_BYREF values replaced by copies, so that the caller may keep them.
    std::span<XLXComVariant> NextOwned(ULONG count, const char* method);
    /// Moves the next elements into a row.
    XVariantRow Values(ULONG count) { return XVariantRow(NextOwned(count, "VecFromSafeArray")); }

    /// Prefetches the element so many places ahead, if there is one.
    void Prefetch(ULONG ahead) const noexcept {
        if (ahead < Remaining()) { LX_PREFETCH(m_data + m_index + ahead); }
    }

    /// Raises "wrong safearray size" if fewer elements remain.
    void CheckRemaining(ULONG count, const char* method) const {
        if (count > Remaining()) { RaiseSize(method); }
    }
    [[noreturn]] static void RaiseSize(const char* method);

private:
    static XArraySubject Nothing() { return {}; }
    void Open(XLXSafeArray owned, ULONG least);
    void Finish() noexcept;
    void LogRefusal(const XLXException& refusal, const XArraySubject& subject) const noexcept;

    std::unique_ptr<SAFEARRAY, void (*)(SAFEARRAY*)> m_array; ///< locked for access to its elements
    const char* const m_method;
    const char* m_section;
    const XLXTextView m_type;
    XLXComVariant* m_data = nullptr;
    ULONG m_count = 0;
    ULONG m_index = 0;
    ULONG m_at = 0; ///< index of the first element of the last request, for the logbook
};

/// Reads the next element, which must have exactly the matching variant type. Texts and object references (which may be
/// null) are moved out and leave VT_EMPTY.
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

/// Reads a sub-array: a count, and that many elements, which are moved into a new array.
XLXSafeArray SafeArrayFromSafeArray(XArrayReader& from);

/// Reads the count of a vector. Raises if it is greater than the number of remaining elements.
ULONG VecCountFromSafeArray(XArrayReader& from);
} // namespace XLXCFCDataTransfer

#endif

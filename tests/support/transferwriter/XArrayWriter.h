// SPDX-License-Identifier: MIT
//
// Builds a transfer array element by element:
//
//     XArrayWriter list;
//     list.Put(LONG{1}, XILXConfigData{page, std::move(values)});
//     XLXSafeArray array = list.Finish();
//
// The functions of XTransferWriters.h write whole arrays from records.
#ifndef XARRAYWRITER_H
#define XARRAYWRITER_H

#include "XLXError.h"
#include "XTransferRecords.h"

#include <concepts>

namespace XLXCFCDataTransfer {
class XArrayWriter {
public:
    /// A record list, which has no header.
    XArrayWriter() = default;
    /// An array with a header.
    XArrayWriter(EMappingAlgorithm algorithm, EWrapperId wrapper);

    void Add(XLXComVariant element) { m_elements.push_back(std::move(element)); }
    /// Appends values in order, each with its ToSafeArray.
    template <class... T> XArrayWriter& Put(T&&... values);

    /// Returns the array, with lower bound 0, and empties the writer. Raises E_OUTOFMEMORY.
    XLXSafeArray Finish();

private:
    XLXVariantVector m_elements;
};

void ToSafeArray(XArrayWriter& to, LONG value);
void ToSafeArray(XArrayWriter& to, ULONG value);
void ToSafeArray(XArrayWriter& to, XLXTextView value);
void ToSafeArray(XArrayWriter& to, IUnknown* value);
/// For booleans only: pointers must not convert to bool.
template <std::same_as<bool> T> void ToSafeArray(XArrayWriter& to, T value) { to.Add(XLXComVariant::FromBool(value)); }
/// Writes a value of any type unchanged.
void ToSafeArray(XArrayWriter& to, XLXComVariant value);
/// Writes values as a vector.
void ToSafeArray(XArrayWriter& to, XVariantRow values);
/// Writes an array of variants as a sub-array.
void ToSafeArray(XArrayWriter& to, XLXSafeArray list);
void ToSafeArray(XArrayWriter& to, XILXConfigData record);
void ToSafeArray(XArrayWriter& to, XILXTypeComp record);
void ToSafeArray(XArrayWriter& to, XILXTypeData record);
void ToSafeArray(XArrayWriter& to, XILXAttributeData record);

template <class... T> XArrayWriter& XArrayWriter::Put(T&&... values) {
    (ToSafeArray(*this, std::forward<T>(values)), ...);
    return *this;
}
} // namespace XLXCFCDataTransfer

#endif

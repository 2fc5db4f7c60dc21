// SPDX-License-Identifier: MIT
//
// Building a transfer array, element by element:
//
//     XArrayWriter list;
//     list.Put(LONG{1}, XILXConfigData{page, std::move(values)});
//     XLXSafeArray array = list.Finish();
//
// Servers rather fill the records and hand them to the functions of XTransferWriters.h.
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
    /// An array that opens with its header.
    XArrayWriter(EMappingAlgorithm algorithm, EWrapperId wrapper);

    void Add(XLXComVariant element) { m_elements.push_back(std::move(element)); }
    /// Appends values in order, each as its ToSafeArray writes it.
    template <class... T> XArrayWriter& Put(T&&... values);

    std::size_t Size() const noexcept { return m_elements.size(); }

    /// The array, with lower bound 0; the writer is empty afterwards. Raises E_OUTOFMEMORY.
    XLXSafeArray Finish();

private:
    XLXVariantVector m_elements;
};

void ToSafeArray(XArrayWriter& to, LONG value);
void ToSafeArray(XArrayWriter& to, ULONG value);
void ToSafeArray(XArrayWriter& to, XLXTextView value);
void ToSafeArray(XArrayWriter& to, IUnknown* value);
/// For booleans only: a pointer must not become one.
template <std::same_as<bool> T> void ToSafeArray(XArrayWriter& to, T value) { to.Add(XLXComVariant::FromBool(value)); }
/// Writes a value of any type as it stands.
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

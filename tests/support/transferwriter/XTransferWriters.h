// SPDX-License-Identifier: MIT
//
// Writes transfer arrays: the counterparts of the readers in XCFCDataTransfer.h.
//
// Ownership  Every function moves values and objects out of the records that it is given. Results are the caller's.
// Errors     std::bad_alloc.
#ifndef XTRANSFERWRITERS_H
#define XTRANSFERWRITERS_H

#include "XTransferRecords.h"

#include <lxserver/FlatArray.h>

#include <concepts>

namespace XLXCFCDataTransfer {
/// Builds a transfer array element by element:
///
///     XArrayWriter list;
///     list.Put(LONG{1}, XILXConfigData{page, std::move(values)});
///     XLXSafeArray array = list.Finish();
class XArrayWriter {
public:
    /// A record list, which has no header.
    XArrayWriter() = default;
    /// An array with a header.
    XArrayWriter(EMappingAlgorithm algorithm, EWrapperId wrapper) {
        Put(static_cast<LONG>(algorithm), static_cast<LONG>(wrapper));
    }

    /// Appends values and records in order.
    template <class... T> XArrayWriter& Put(T&&... values) {
        (Add(std::forward<T>(values)), ...);
        return *this;
    }
    /// Appends a number and that many records.
    template <class Record> XArrayWriter& PutAll(std::vector<Record> records) {
        Put(static_cast<LONG>(records.size()));
        for (Record& record : records) {
            Put(std::move(record));
        }
        return *this;
    }
    /// Returns the array, with lower bound 0, and empties the writer.
    XLXSafeArray Finish() { return XLXSafeArray(m_array.Detach()); }

private:
    /// Appends a value of any type unchanged.
    void Add(XLXComVariant value) { value.DetachTo(m_array.Next()); }
    void Add(LONG value) { Add(XLXComVariant::FromI4(value)); }
    void Add(ULONG value) { Add(XLXComVariant::FromUI4(value)); }
    void Add(XLXTextView value) { Add(XLXComVariant::FromBstr(value)); }
    void Add(IUnknown* value) { Add(XLXComVariant::FromUnknown(value)); }
    /// For booleans only: pointers must not convert to bool.
    template <std::same_as<bool> T> void Add(T value) { Add(XLXComVariant::FromBool(value)); }
    /// Appends values as a vector.
    void Add(XVariantRow values);
    /// Appends an array of variants as a sub-array.
    void Add(XLXSafeArray list);
    void Add(XILXConfigData record) { Put(record.object.Get(), std::move(record.values)); }
    void Add(XILXTypeComp record);
    void Add(XILXTypeData record);
    void Add(XILXAttributeData record);
    void AddValues(XVariantRow& values);

    lx::FlatArray m_array;
};

/// The index of a name. Names are numbered in the order of their first use.
ULONG IndexOf(XILXTypeMap& types, XLXTextView name);

XLXSafeArray GetArrayFromMap(XILXTypeMap types);
XLXSafeArray GetArrayFromVec(std::vector<XILXPCData> relations);
XLXSafeArray GetArrayFromWrapper(XILXTypeComp components);
XLXSafeArray GetArrayFromSingleTypedVec(std::vector<XILXConfigData> records);
/// A record has 60 values, an attribute type of it 7.
XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes);
} // namespace XLXCFCDataTransfer

#endif

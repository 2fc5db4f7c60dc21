// SPDX-License-Identifier: MIT
#ifndef XTYPERECORD_H
#define XTYPERECORD_H

#include "XRelationHost.h"
#include "lxtypecache.h"

#include <functional>

/// A type on its way into the type map: a record of a bulk read, or a type of the server that is wrapped.
struct XTypeRecord : XLXCFCDataTransfer::XILXTypeData {
    XLXText name;
    LONG mode = 0;                ///< which components were asked for with the type
    XLXComPtr<XLXTypeCache> made; ///< the new object, when the map has none of that name yet
    XLXText baseName;             ///< empty: there is no base type, or its index is not explained

    /// Whether the record names a base by an index that its array does not explain.
    bool IsBaseMissing() const noexcept { return baseIndex != XLXCFCDataTransfer::NoBaseIndex; }
};
using XTypeRecords = std::vector<XTypeRecord>;

/// Asks the server for types in bulk, in record order; nothing when it has nothing. Raises its failure, with the text,
/// and what is wrong with the array.
/// @param mode  which components are asked for with the types
std::optional<XTypeRecords> LXAskForTypes(const char* method, LONG mode, const OLECHAR* failureText,
                                          const LXErrorLocation& at, const std::function<HRESULT(SAFEARRAY**)>& ask);

#endif

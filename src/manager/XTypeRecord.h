// SPDX-License-Identifier: MIT
#ifndef XTYPERECORD_H
#define XTYPERECORD_H

#include "XRelationHost.h"
#include "lxtypecache.h"

#include <functional>

/// A type to be entered into the type map: a record of a bulk read, or a server's type to be wrapped.
struct XTypeRecord : XLXCFCDataTransfer::XILXTypeData {
    static constexpr int MemberBaseTypeName = 2; ///< the property of a type that is its base's name

    XLXText name;
    LONG mode = 0;                ///< the components that were requested with the type
    XLXComPtr<XLXTypeCache> made; ///< the new object, when the map has no type of that name yet
    XLXText baseName;             ///< empty: no base type, or the array does not resolve its index

    /// Whether the record has a base index that the array does not resolve.
    bool IsBaseMissing() const noexcept { return baseIndex != XLXCFCDataTransfer::NoBaseIndex; }
};
using XTypeRecords = std::vector<XTypeRecord>;

/// Asks the server for types in bulk and returns them in record order, or nothing when the server has none. Raises the
/// server's failure with this text, and any fault of the array.
/// @param mode  the components to request with the types
std::optional<XTypeRecords> LXAskForTypes(const char* method, LONG mode, const OLECHAR* failureText,
                                          const LXErrorLocation& at, const std::function<HRESULT(SAFEARRAY**)>& ask);

#endif

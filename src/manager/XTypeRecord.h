// SPDX-License-Identifier: MIT
#ifndef XTYPERECORD_H
#define XTYPERECORD_H

#include "XRelationHost.h"
#include "lxtypecache.h"

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

/// Reads the types out of a bulk read's array, in record order. Raises what is wrong with the array.
XTypeRecords LXDecodeTypes(XLXSafeArray array, LONG mode);

/// Asks the server for types in bulk; nothing when it has nothing. Raises its failure, with the text.
/// @param call  HRESULT call(SAFEARRAY**)
template <class Call>
std::optional<XTypeRecords> LXAskForTypes(const char* method, LONG mode, const OLECHAR* failureText,
                                          const LXErrorLocation& at, Call&& call) {
    XLXSafeArray array;
    const HRESULT result = LXAsk(method, array, LXNoResult::Nothing, {}, at, std::forward<Call>(call));
    XLXError::RaiseIfFailed(result, failureText, at);
    return result == S_OK ? std::optional(LXDecodeTypes(std::move(array), mode)) : std::nullopt;
}

#endif

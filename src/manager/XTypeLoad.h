// SPDX-License-Identifier: MIT
#ifndef XTYPELOAD_H
#define XTYPELOAD_H

#include "lxtypecache.h"

/// A type as it enters the type map: a record of a bulk read, or a type of the server wrapped.
struct XTypeLoad
{
    XLXText name;
    XLXText baseName;
    XLXComPtr<IUnknown> server;
    XVariantRow values; ///< empty: the type's properties are fetched on demand
    XLXCFCDataTransfer::XILXTypeComp components;
    LONG mode = 0; ///< which components were asked for with the type
    bool listed = false;
    bool searchable = false;
    bool baseIndexMissing = false; ///< the record names a base by an index that the array does not explain
};

/// Reads the types out of a bulk read's array, in record order. Raises what is wrong with the array.
std::vector<XTypeLoad> LXDecodeTypes(XLXSafeArray array, LONG mode);

/// Source name, scope and method of the manager's error locations.
constexpr LXErrorLocation LXManagerAt(const char* method, int line = LX_CURRENT_LINE)
{
    return {"lxconfigfactorycachemanager", "XLXConfigFactoryCacheManager", method, line};
}

#endif

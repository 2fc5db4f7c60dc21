// SPDX-License-Identifier: MIT
//
// Readers of the transfer format, in which servers send type, component and relation data as one flat array of
// variants. docs/transfer-format.md describes it; servers write it with lxserver/BulkArrays.h.
//
// Ownership  Each function moves values and objects out of its array and destroys the array. The caller owns the
//            result.
// Threading  Thread-safe. Destroying arrays and records releases objects, which is foreign code: no lock may be held.
// Errors     An XLXException: E_POINTER for a null array, otherwise E_INVALIDARG with a fixed text. There are no
//            partial results. The logbook records the position in the array.
#ifndef XCFCDATATRANSFER_H
#define XCFCDATATRANSFER_H

#include "XArrayReader.h"

namespace XLXCFCDataTransfer {
// ---- Arrays with a header ----

/// Reads a type array (GetTypeArray and its siblings). If two entries have the same key, the later one counts.
XILXTypeMap GetMapFromArray(XLXSafeArray array);

/// Reads a parent-child array (GetPCArray).
std::vector<XILXPCData> GetVecFromArray(XLXSafeArray array);

/// Reads a type-component record (GetTypeComponentData).
/// @param type  name of the type, for the logbook
XILXTypeComp GetWrapperFromArray(XLXSafeArray array, XLXTextView type = {});

// ---- Record lists, the sub-arrays of a type-component record ----

/// Reads a page, group or editor list. Raises if even its count is missing.
/// @param origin  kind of the list and name of the type, for the logbook
std::vector<XILXConfigData> GetSingleTypedVecFromArray(XLXSafeArray array,
                                                       const XArrayOrigin& origin = {"records", {}});

/// Reads an attribute list: records with 60 values each, up to the end of the array. An array without elements is a
/// list without attributes.
/// @param type  name of the type, for the logbook
std::vector<XILXAttributeData> ReadAttributeList(XLXSafeArray array, XLXTextView type = {});
} // namespace XLXCFCDataTransfer

#endif

// SPDX-License-Identifier: MIT
//
// The transfer format: how type, component and relation data travel from a server to the cache, as one flat array of
// variants. docs/transfer-format.md has the picture. The writers are the server's (server/transfer).
//
// Ownership  Every function moves values and objects out of the array that it is given, and ends it. Results are the
//            caller's.
// Threading  Nothing is shared, so every function may run on any thread. Ends of arrays and records release objects,
//            which is foreign code: no lock may be held.
// Errors     A null array raises E_POINTER, everything that does not fit the format E_INVALIDARG with a fixed text,
//            as an XLXException. There is no partial result. The logbook says where in the array.
#ifndef XCFCDATATRANSFER_H
#define XCFCDATATRANSFER_H

#include "XArrayReader.h"

namespace XLXCFCDataTransfer {
// ---- Arrays with a header ----

/// Reads a type array (GetTypeArray and its siblings). Of two entries of the same key the later one counts.
XILXTypeMap GetMapFromArray(XLXSafeArray array);

/// Reads a parent-child array (GetPCArray).
std::vector<XILXPCData> GetVecFromArray(XLXSafeArray array);

/// Reads a type-component record (GetTypeComponentData).
/// @param type  whose record it is, for the logbook
XILXTypeComp GetWrapperFromArray(XLXSafeArray array, XLXTextView type = {});

// ---- Record lists, the sub-arrays of a type-component record ----

/// Reads a page, group or editor list. A list without even its count is refused.
/// @param origin  which of them it is, and whose, for the logbook
std::vector<XILXConfigData> GetSingleTypedVecFromArray(XLXSafeArray array,
                                                       const XArrayOrigin& origin = {"records", {}});

/// Reads an attribute list: record after record, each with 60 values, up to the end of the array. No elements at all
/// are a list of no attributes.
/// @param type  whose attributes they are, for the logbook
std::vector<XILXAttributeData> ReadAttributeList(XLXSafeArray array, XLXTextView type = {});
} // namespace XLXCFCDataTransfer

#endif

// SPDX-License-Identifier: MIT
//
// Writes transfer arrays: the counterparts of the readers in XCFCDataTransfer.h.
//
// Ownership  Every function moves values and objects out of its records. The caller owns the result.
// Errors     XLXException with E_OUTOFMEMORY, or E_INVALIDARG for data that the format cannot represent.
#ifndef XTRANSFERWRITERS_H
#define XTRANSFERWRITERS_H

#include "XArrayWriter.h"

namespace XLXCFCDataTransfer {
/// The index of a name. Names are numbered in the order of their first use.
ULONG IndexOf(XILXTypeMap& types, XLXTextView name);

XLXSafeArray GetArrayFromMap(XILXTypeMap types);
XLXSafeArray GetArrayFromVec(std::vector<XILXPCData> relations);
XLXSafeArray GetArrayFromWrapper(XILXTypeComp components);
XLXSafeArray GetArrayFromSingleTypedVec(std::vector<XILXConfigData> records);
/// Raises E_INVALIDARG for a record without exactly 60 values, or an attribute type of it without exactly 7.
XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes);
} // namespace XLXCFCDataTransfer

#endif

// SPDX-License-Identifier: MIT
//
// The transfer arrays as servers make them: the counterparts of the readers in XCFCDataTransfer.h.
//
// Ownership  Every function moves values and objects out of the records that it is given. Results are the caller's.
// Errors     E_OUTOFMEMORY, and E_INVALIDARG for what the format cannot carry, as an XLXException.
#ifndef XTRANSFERWRITERS_H
#define XTRANSFERWRITERS_H

#include "XArrayWriter.h"

namespace XLXCFCDataTransfer {
/// The index of a name, which are numbered in the order of their first use.
ULONG IndexOf(XILXTypeMap& types, XLXTextView name);

XLXSafeArray GetArrayFromMap(XILXTypeMap types);
XLXSafeArray GetArrayFromVec(std::vector<XILXPCData> relations);
XLXSafeArray GetArrayFromWrapper(XILXTypeComp components);
XLXSafeArray GetArrayFromSingleTypedVec(std::vector<XILXConfigData> records);
/// Raises E_INVALIDARG for a record without exactly 60 values, or an attribute type of it without exactly 7.
XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes);
} // namespace XLXCFCDataTransfer

#endif

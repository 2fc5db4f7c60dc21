// SPDX-License-Identifier: MIT
//
// The transfer arrays as servers make them: the counterparts of the readers in XCFCDataTransfer.h.
//
// Ownership  Every function moves values and objects out of the records that it is given. Results are the caller's.
// Errors     E_OUTOFMEMORY as an XLXException.
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
/// A record has 60 values, an attribute type of it 7.
XLXSafeArray GetArrayFromAttributeList(std::vector<XILXAttributeData> attributes);
} // namespace XLXCFCDataTransfer

#endif

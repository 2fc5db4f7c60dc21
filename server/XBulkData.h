// SPDX-License-Identifier: MIT
//
// What the server delivers in bulk, in the kit's layout. Arrays without objects are built once for a state of the
// model; everybody gets a copy.
//
// Errors     std::bad_alloc.
#ifndef XBULKDATA_H
#define XBULKDATA_H

#include "XServerObject.h"

// No lock is held for these. Null when there is nothing to deliver.

/// The components of a type that a mode asks for.
SAFEARRAY* LXComponentArray(const XServerCorePtr& core, const std::shared_ptr<XModelType>& type, LONG mode);
/// The named types that exist, each once, with all their bases when asked for; all types without names.
SAFEARRAY* LXTypeArray(const XServerCorePtr& core, const std::optional<std::vector<XLXText>>& names, bool withBases,
                       LONG mode);
SAFEARRAY* LXRelationArray(const XServerCorePtr& core);

#endif

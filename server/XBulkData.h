// SPDX-License-Identifier: MIT
//
// The server's bulk arrays, in the kit's layout. Arrays without objects are built once for each state of the model, and
// clients get copies.
//
// Errors     std::bad_alloc.
#ifndef XBULKDATA_H
#define XBULKDATA_H

#include "XServerObject.h"

// Call these with no lock held. They return null if there is nothing to deliver.

/// The components of a type that a mode requests.
SAFEARRAY* LXComponentArray(const XServerCorePtr& core, const std::shared_ptr<XModelType>& type, LONG mode);
/// The named types that exist, each once, with all their bases if requested; all types if there is no list of names.
SAFEARRAY* LXTypeArray(const XServerCorePtr& core, const std::optional<std::vector<XLXText>>& names, bool withBases,
                       LONG mode);
SAFEARRAY* LXRelationArray(const XServerCorePtr& core);

#endif

// SPDX-License-Identifier: MIT
//
// What the registration script (lxconfigfactorycache.rgs) says, written to the registry and removed from it. The build
// makes a table of the script's keys and values.
//
// Errors     Both functions answer the registry's own failure codes.
#ifndef XREGISTRYSCRIPT_H
#define XREGISTRYSCRIPT_H

#include "XLXText.h"

namespace XRegistryScript {
/// Creates the keys and values below the root. Stops at the first failure.
/// @param modulePath  takes the place of %MODULE%
HRESULT Register(HKEY root, const XLXText& modulePath);

/// Removes what Register creates. Keys of others below the script's keys stay, with what they stand on. A failure
/// does not stop the rest; the first one is answered.
HRESULT Unregister(HKEY root);
} // namespace XRegistryScript

#endif

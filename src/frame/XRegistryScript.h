// SPDX-License-Identifier: MIT
//
// Applies the registration script (lxconfigfactorycache.rgs) to the registry, or removes it. The build turns the script
// into a table of keys and values.
//
// Errors     Both functions return the registry's failure codes.
#ifndef XREGISTRYSCRIPT_H
#define XREGISTRYSCRIPT_H

#include "XLXText.h"

namespace XRegistryScript {
/// Creates the keys and values below the root. Stops at the first failure.
/// @param modulePath  replaces %MODULE%
HRESULT Register(HKEY root, const XLXText& modulePath);

/// Removes what Register creates. Subkeys that others added stay, with the keys above them. Continues after a failure
/// and returns the first one.
HRESULT Unregister(HKEY root);
} // namespace XRegistryScript

#endif

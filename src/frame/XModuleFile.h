// SPDX-License-Identifier: MIT
//
// The module's path and its type library.
#ifndef XMODULEFILE_H
#define XMODULEFILE_H

#include "XLXText.h"

/// The module's full path. Raises the platform's code on failure.
XLXText LXModulePath();

HRESULT LXRegisterTypeLibrary(const XLXText& modulePath);

/// Succeeds when no type library is registered.
HRESULT LXUnregisterTypeLibrary();

#endif

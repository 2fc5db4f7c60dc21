// SPDX-License-Identifier: MIT
//
// The module as a file: where it lies, and its type library.
#ifndef XMODULEFILE_H
#define XMODULEFILE_H

#include "XLXText.h"

/// The module's full path. Raises the platform's code when there is none.
XLXText LXModulePath();

HRESULT LXRegisterTypeLibrary(const XLXText& modulePath);

/// A type library that is not registered is no failure.
HRESULT LXUnregisterTypeLibrary();

#endif

// SPDX-License-Identifier: MIT
//
// There is no type library service here, and nobody to ask for one: clients use the header.
#include "XModuleFile.h"

HRESULT LXRegisterTypeLibrary(const XLXText&) { return S_OK; }

HRESULT LXUnregisterTypeLibrary() { return S_OK; }

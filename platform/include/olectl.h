// SPDX-License-Identifier: MIT
//
// What a module exports to be registered.
#ifndef LXPLATFORM_OLECTL_H
#define LXPLATFORM_OLECTL_H

#include <objbase.h>

STDAPI DllRegisterServer(void);
STDAPI DllUnregisterServer(void);

#endif

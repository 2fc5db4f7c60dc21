// SPDX-License-Identifier: MIT
//
// The registration exports of a module.
#ifndef LXPLATFORM_OLECTL_H
#define LXPLATFORM_OLECTL_H

#include <objbase.h>

STDAPI DllRegisterServer(void);
STDAPI DllUnregisterServer(void);

#endif

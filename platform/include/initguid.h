// SPDX-License-Identifier: MIT
//
// Makes DEFINE_GUID define what it names, in the file that includes this.
#ifndef INITGUID
#define INITGUID
#endif
#include <guiddef.h>

// SPDX-License-Identifier: MIT
//
// Makes DEFINE_GUID emit definitions in the file that includes this header.
#ifndef INITGUID
#define INITGUID
#endif
#include <guiddef.h>

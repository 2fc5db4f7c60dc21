// SPDX-License-Identifier: MIT
//
// The whole platform layer. Names, layouts and results are those of the other platform; each header here has the part
// that the component, its server and their tests call.
#ifndef LXPLATFORM_WINDOWS_H
#define LXPLATFORM_WINDOWS_H

#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winreg.h>

#include <objbase.h>
#include <oleauto.h>

#endif

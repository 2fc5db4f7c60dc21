// SPDX-License-Identifier: MIT
//
// The platform layer's umbrella header. Names, layouts and results are those of Windows. Each header declares the part
// that the component, its server and their tests use.
#ifndef LXPLATFORM_WINDOWS_H
#define LXPLATFORM_WINDOWS_H

#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winreg.h>

#include <objbase.h>
#include <oleauto.h>

#endif

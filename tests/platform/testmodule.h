// SPDX-License-Identifier: MIT
#ifndef TESTMODULE_H
#define TESTMODULE_H

#include <windows.h>

#include <ole2.h>

const CLSID g_testClass = {0x5d7c8a10, 0x3b52, 0x4f6e, {0x9c, 0x41, 0x0a, 0x1b, 0x2c, 0x3d, 0x4e, 0x5f}};

#endif

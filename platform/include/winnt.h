// SPDX-License-Identifier: MIT
#include <windef.h>

// SPDX-License-Identifier: MIT
#include <rpcndr.h>

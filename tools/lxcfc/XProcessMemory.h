// SPDX-License-Identifier: MIT
#ifndef XPROCESSMEMORY_H
#define XPROCESSMEMORY_H

#include <cstddef>

/// How much memory this process has in use, in KiB; 0 where that cannot be told.
std::size_t LXProcessMemory();

#endif

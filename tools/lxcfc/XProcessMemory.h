// SPDX-License-Identifier: MIT
#ifndef XPROCESSMEMORY_H
#define XPROCESSMEMORY_H

#include <cstddef>

/// The memory in use by this process, in KiB; 0 if unknown.
std::size_t LXProcessMemory();

#endif

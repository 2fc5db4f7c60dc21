// SPDX-License-Identifier: MIT
//
// Counts the heap of the process: replaces the heap functions of the C library.
#ifndef COUNTEDHEAP_H
#define COUNTEDHEAP_H

#include <cstddef>

/// The bytes in use, including the rounding and the header of each block.
std::size_t LXHeapInUse() noexcept;
/// The maximum of bytes in use since the last reset.
std::size_t LXHeapPeak() noexcept;
void LXResetHeapPeak() noexcept;

#endif

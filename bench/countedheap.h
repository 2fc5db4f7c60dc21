// SPDX-License-Identifier: MIT
//
// The heap of the process, counted: these functions stand in the place of the C library's.
#ifndef COUNTEDHEAP_H
#define COUNTEDHEAP_H

#include <cstddef>

/// Bytes in use now, as blocks take them from the heap (with what an allocation is rounded up by, and its header).
std::size_t LXHeapInUse() noexcept;
/// The most that was in use since the last reset.
std::size_t LXHeapPeak() noexcept;
void LXResetHeapPeak() noexcept;

#endif

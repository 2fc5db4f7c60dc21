// SPDX-License-Identifier: MIT
#ifndef ALLOCATION_H
#define ALLOCATION_H

#include <cstddef>

/// Whether an allocation may be made now.
bool LXMayAllocate() noexcept;

/// Zeroed memory for std::free; null when there is none.
void* LXAllocate(std::size_t count, std::size_t size) noexcept;

#endif

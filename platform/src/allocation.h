// SPDX-License-Identifier: MIT
#ifndef ALLOCATION_H
#define ALLOCATION_H

#include <cstddef>

/// Whether the allocation gate lets an allocation succeed.
bool LXMayAllocate() noexcept;

/// Zeroed memory, to be freed with std::free; null when there is none.
void* LXAllocate(std::size_t count, std::size_t size) noexcept;

#endif

// SPDX-License-Identifier: MIT
#include "allocation.h"

#include "lxallocationgate.h"

#include <atomic>
#include <cstdlib>

namespace {
std::atomic<LXAllocationGate> g_gate{nullptr};
}

void LXSetAllocationGate(LXAllocationGate gate) noexcept { g_gate.store(gate, std::memory_order_relaxed); }

bool LXMayAllocate() noexcept {
    const LXAllocationGate gate = g_gate.load(std::memory_order_relaxed);
    return gate == nullptr || gate();
}

void* LXAllocate(std::size_t count, std::size_t size) noexcept {
    return LXMayAllocate() ? std::calloc(count, size) : nullptr;
}

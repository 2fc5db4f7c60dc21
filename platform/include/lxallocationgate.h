// SPDX-License-Identifier: MIT
//
// Simulates memory exhaustion in tests. Strings, arrays, task memory and error objects of the platform layer ask a gate
// before they allocate. Linux only; no gate is set initially.
#ifndef LXALLOCATIONGATE_H
#define LXALLOCATIONGATE_H

/// Returning false makes the allocation fail. Called on the allocating thread.
using LXAllocationGate = bool (*)();

/// Sets the gate for all threads; null removes it.
void LXSetAllocationGate(LXAllocationGate gate) noexcept;

#endif

// SPDX-License-Identifier: MIT
//
// For tests of what happens when memory runs out: strings, arrays, task memory and error objects of the platform
// layer ask a gate before they are allocated. Linux only; there is none at first.
#ifndef LXALLOCATIONGATE_H
#define LXALLOCATIONGATE_H

/// False makes the allocation fail. Called on the allocating thread.
using LXAllocationGate = bool (*)();

/// Sets the gate for all threads; null takes it away.
void LXSetAllocationGate(LXAllocationGate gate) noexcept;

#endif

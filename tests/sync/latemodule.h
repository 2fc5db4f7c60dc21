// SPDX-License-Identifier: MIT
//
// The interface of the late module.
#ifndef LATEMODULE_H
#define LATEMODULE_H

/// Reads the module's data without a lock and sometimes writes it.
/// @param rounds  the number of reads
/// @param broken  set to the number of reads that overlapped a write @return the calling thread's index in the module
using LateWork = unsigned (*)(unsigned rounds, unsigned* broken);
constexpr const char* LateWorkName = "LXLateWork";

#endif

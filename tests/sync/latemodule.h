// SPDX-License-Identifier: MIT
//
// The interface of the late module.
#ifndef LATEMODULE_H
#define LATEMODULE_H

/// Reads the module's data, mostly without a lock, and sometimes writes it and reads it inside the write.
/// @param rounds  the number of reads
/// @param broken  counts reads that overlapped a write or saw an older value than before
/// @return the calling thread's index in the module
using LateWork = unsigned (*)(unsigned rounds, unsigned* broken);
constexpr const char* LateWorkName = "LXLateWork";

#endif

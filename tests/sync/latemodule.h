// SPDX-License-Identifier: MIT
//
// What the late module offers.
#ifndef LATEMODULE_H
#define LATEMODULE_H

/// Reads the module's datum without a lock, again and again, and writes it now and then.
/// @param rounds  the reads
/// @param broken  gets the reads that met a write
/// @return the calling thread's index in the module
using LateWork = unsigned (*)(unsigned rounds, unsigned* broken);
constexpr const char* LateWorkName = "LXLateWork";

#endif

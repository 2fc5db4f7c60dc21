// SPDX-License-Identifier: MIT
//
// The fuzz targets. Each ends the process if a check fails.
#ifndef FUZZTARGETS_H
#define FUZZTARGETS_H

#include "arraycode.h"

// These decode an array, read it, and return whether their reader accepted it.
bool FuzzTypeArray(XBytes bytes);
bool FuzzAttributeList(XBytes bytes);
bool FuzzTypeComponents(XBytes bytes);
/// Reads the array as a record list and as a parent-child array; true if either reader accepted it.
bool FuzzRecordList(XBytes bytes);

/// Whole operations of a client, edits of the server, and notifications of every form. True: at least one answer was
/// compared.
bool FuzzOperations(XBytes bytes);

/// The program of a target.
#define LX_FUZZ_TARGET(run)                                                                                            \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {                                \
        run({data, size});                                                                                             \
        return 0;                                                                                                      \
    }

#endif

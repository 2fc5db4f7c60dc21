// SPDX-License-Identifier: MIT
//
// The fuzz targets: each decodes an array, reads it, ends the process if a check fails, and returns whether its reader
// accepted the array.
#ifndef FUZZTARGETS_H
#define FUZZTARGETS_H

#include "arraycode.h"

bool FuzzTypeArray(XBytes bytes);
bool FuzzAttributeList(XBytes bytes);
bool FuzzTypeComponents(XBytes bytes);
/// Reads the array as a record list and as a parent-child array; true if either reader accepted it.
bool FuzzRecordList(XBytes bytes);

#endif

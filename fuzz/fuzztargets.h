// SPDX-License-Identifier: MIT
//
// What the fuzz targets do with their input: decode an array, read it, and end the process when something does not
// hold. Each says whether its reader took the array.
#ifndef FUZZTARGETS_H
#define FUZZTARGETS_H

#include "arraycode.h"

bool FuzzTypeArray(XBytes bytes);
bool FuzzAttributeList(XBytes bytes);
bool FuzzTypeComponents(XBytes bytes);
/// Reads the array as a record list and as a parent-child array; true when either took it.
bool FuzzRecordList(XBytes bytes);

#endif

// SPDX-License-Identifier: MIT
//
// The benchmarks. The first three use the world of 20,000 types, which is created when a row needs it; the others
// create their own.
#ifndef BENCHES_H
#define BENCHES_H

#include "XBenchRows.h"
#include "XBenchWorld.h"

using XWorldSource = std::function<const XBenchWorld&()>;

void LXBenchProperties(XBenchRows& rows, const XWorldSource& world);
void LXBenchTypes(XBenchRows& rows, const XWorldSource& world);
void LXBenchLists(XBenchRows& rows, const XWorldSource& world);
void LXBenchLoads(XBenchRows& rows);
void LXBenchEdits(XBenchRows& rows);
void LXBenchServerCalls(XBenchRows& rows);

#endif

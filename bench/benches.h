// SPDX-License-Identifier: MIT
//
// The benchmarks, each over the world of 20,000 types but for the loads, which make their own.
#ifndef BENCHES_H
#define BENCHES_H

#include "XBenchRows.h"
#include "XBenchWorld.h"

void LXBenchProperties(XBenchRows& rows, const XBenchWorld& world);
void LXBenchTypes(XBenchRows& rows, const XBenchWorld& world);
void LXBenchLists(XBenchRows& rows, const XBenchWorld& world);
void LXBenchLoads(XBenchRows& rows);
void LXBenchServerCalls(XBenchRows& rows);

#endif

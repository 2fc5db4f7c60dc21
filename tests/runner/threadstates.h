// SPDX-License-Identifier: MIT
//
// What every thread of the process is doing, on standard error; for the watchdog.
#ifndef THREADSTATES_H
#define THREADSTATES_H

void LXPrepareThreadStates();
void LXPrintThreadStates();

#endif

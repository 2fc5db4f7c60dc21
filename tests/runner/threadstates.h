// SPDX-License-Identifier: MIT
//
// Prints the stack of every thread to standard error, for the watchdog.
#ifndef THREADSTATES_H
#define THREADSTATES_H

void LXPrepareThreadStates();
void LXPrintThreadStates();

#endif

// SPDX-License-Identifier: MIT
//
// Prints the stack of every thread to standard error, for the watchdog (Linux only).
#ifndef THREADSTATES_H
#define THREADSTATES_H

void LXPrepareThreadStates();
void LXPrintThreadStates();

#endif

// SPDX-License-Identifier: MIT
#include "threadstates.h"

#include <windows.h>

void LXPrepareThreadStates() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); } // no dialogs

void LXPrintThreadStates() {}

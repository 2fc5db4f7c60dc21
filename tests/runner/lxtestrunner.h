// SPDX-License-Identifier: MIT
//
// The main function of every test program. It adds a watchdog, and it fails the run when objects leak.
#ifndef LXTESTRUNNER_H
#define LXTESTRUNNER_H

/// Exit code of a run that the watchdog aborted.
constexpr int LXWatchdogExitCode = 86;

/// Registers a count of live objects that must be 0 after all tests. Define it at namespace scope.
class LXLiveCounter {
public:
    LXLiveCounter(const char* name, long (*count)());
};

#endif

// SPDX-License-Identifier: MIT
//
// The main of every test program: a watchdog, and a count of live objects that fails the run on a leak.
#ifndef LXTESTRUNNER_H
#define LXTESTRUNNER_H

/// Exit code of a run that the watchdog ended.
constexpr int LXWatchdogExitCode = 86;

/// Registers a count of objects that must be 0 when all tests have run. Made at namespace scope.
class LXLiveCounter {
public:
    LXLiveCounter(const char* name, long (*count)());
};

#endif

// SPDX-License-Identifier: MIT
#include "XProcessMemory.h"

#ifdef _WIN32
#include <windows.h>

#include <psapi.h>
#else
#include <unistd.h>

#include <fstream>
#endif

std::size_t LXProcessMemory() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters = {};
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != 0 ? counters.WorkingSetSize / 1024
                                                                                      : 0;
#else
    std::size_t size = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
#endif
}

// SPDX-License-Identifier: MIT
#include "threadstates.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <execinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
void PrintOwnStack(int) {
    void* frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
}
} // namespace

void LXPrepareThreadStates() {
    void* frame[1];
    (void)backtrace(frame, 1); // loads the unwinder now, because the signal handler must not allocate
    struct sigaction action = {};
    action.sa_handler = PrintOwnStack;
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR2, &action, nullptr);
}

void LXPrintThreadStates() {
    DIR* const tasks = opendir("/proc/self/task");
    if (tasks == nullptr) { return; }
    const auto self = syscall(SYS_gettid);
    while (const dirent* const task = readdir(tasks)) {
        const long thread = std::strtol(task->d_name, nullptr, 10);
        if (thread > 0 && thread != self) {
            std::fprintf(stderr, "thread %ld:\n", thread);
            std::fflush(stderr);
            syscall(SYS_tgkill, getpid(), thread, SIGUSR2);
            usleep(200000);
        }
    }
    closedir(tasks);
}

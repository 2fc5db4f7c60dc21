// SPDX-License-Identifier: MIT
//
// Threads, time, the machine's name, and task memory.
#include "allocation.h"

#include <objbase.h>
#include <winbase.h>
#include <winerror.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {
thread_local DWORD t_lastError = ERROR_SUCCESS;

/// The host name in the form of a Windows machine name: up to the first dot, upper case, at most 15 characters.
std::string MachineName() {
    char host[256] = {};
    gethostname(host, sizeof(host) - 1);
    std::string name(host, std::strcspn(host, "."));
    name.resize(std::min<std::size_t>(name.size(), MAX_COMPUTERNAME_LENGTH));
    for (char& letter : name) {
        letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    }
    return name;
}
} // namespace

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD code) { t_lastError = code; }

DWORD GetCurrentThreadId() {
    thread_local const DWORD t_id = static_cast<DWORD>(syscall(SYS_gettid));
    return t_id;
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        std::this_thread::yield();
    } else if (milliseconds == INFINITE) {
        for (;;) {
            pause();
        }
    } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
}

BOOL GetComputerNameW(LPWSTR buffer, LPDWORD size) {
    const std::string name = MachineName();
    const DWORD length = static_cast<DWORD>(name.size());
    if (buffer == nullptr || *size <= length) {
        *size = length + 1;
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return FALSE;
    }
    for (DWORD i = 0; i <= length; ++i) {
        buffer[i] = static_cast<unsigned char>(name[i]);
    }
    *size = length;
    return TRUE;
}

LPVOID CoTaskMemAlloc(SIZE_T cb) { return LXMayAllocate() ? std::malloc(cb == 0 ? 1 : cb) : nullptr; }

void CoTaskMemFree(LPVOID pv) { std::free(pv); }

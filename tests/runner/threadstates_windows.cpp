// SPDX-License-Identifier: MIT
#include "threadstates.h"

#include <windows.h>

#include <tlhelp32.h>

#include <cstdio>

namespace {
void PrintPlace(HANDLE thread) {
    CONTEXT context = {};
    context.ContextFlags = CONTEXT_CONTROL;
    if (!GetThreadContext(thread, &context)) {
        std::fprintf(stderr, "  (not readable)\n");
        return;
    }
    HMODULE module = nullptr;
    wchar_t name[MAX_PATH] = L"?";
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(context.Rip), &module)) {
        GetModuleFileNameW(module, name, MAX_PATH);
    }
    std::fprintf(stderr, "  at %p, %ls + 0x%llx\n", reinterpret_cast<void*>(context.Rip), name,
                 context.Rip - reinterpret_cast<DWORD64>(module));
}
} // namespace

void LXPrepareThreadStates() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); }

void LXPrintThreadStates() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId()) {
            continue;
        }
        const HANDLE thread = OpenThread(THREAD_GET_CONTEXT | THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID);
        if (thread != nullptr) {
            SuspendThread(thread);
            std::fprintf(stderr, "thread %lu:\n", entry.th32ThreadID);
            PrintPlace(thread);
            ResumeThread(thread);
            CloseHandle(thread);
        }
    }
    CloseHandle(snapshot);
}

// SPDX-License-Identifier: MIT
//
// The slim lock, the condition variable, threads, modules and the machine's name.
#ifndef LXPLATFORM_WINBASE_H
#define LXPLATFORM_WINBASE_H

#include <windef.h>

/* A slim reader-writer lock; not recursive. Its 8 bytes are zero when the lock is free. It needs no clean-up.
 * A waiting writer is not overtaken by readers that arrive later. */
typedef union _RTL_SRWLOCK {
    ULONG lxState;
    PVOID Ptr; /* gives the union its size */
} SRWLOCK, RTL_SRWLOCK, *PSRWLOCK;
#define SRWLOCK_INIT                                                                                                   \
    { 0 }

EXTERN_C void WINAPI AcquireSRWLockExclusive(SRWLOCK* lock);
EXTERN_C void WINAPI AcquireSRWLockShared(SRWLOCK* lock);
EXTERN_C BOOLEAN WINAPI TryAcquireSRWLockExclusive(SRWLOCK* lock);
EXTERN_C BOOLEAN WINAPI TryAcquireSRWLockShared(SRWLOCK* lock);
EXTERN_C void WINAPI ReleaseSRWLockExclusive(SRWLOCK* lock);
EXTERN_C void WINAPI ReleaseSRWLockShared(SRWLOCK* lock);

/* A condition variable; initially zero, and needs no clean-up. Wake-ups can be spurious. Supports only locks that are
 * held exclusively, and no time limits. */
typedef union _RTL_CONDITION_VARIABLE {
    ULONG lxWakes;
    PVOID Ptr; /* gives the union its size */
} CONDITION_VARIABLE, *PCONDITION_VARIABLE;
#define CONDITION_VARIABLE_INIT                                                                                        \
    { 0 }

EXTERN_C BOOL WINAPI SleepConditionVariableSRW(CONDITION_VARIABLE* condition, SRWLOCK* lock, DWORD milliseconds,
                                               ULONG flags);
EXTERN_C void WINAPI WakeConditionVariable(CONDITION_VARIABLE* condition);

EXTERN_C DWORD WINAPI GetLastError(void);
EXTERN_C void WINAPI SetLastError(DWORD code);
EXTERN_C DWORD WINAPI GetCurrentThreadId(void);
EXTERN_C DWORD WINAPI GetCurrentProcessId(void);
EXTERN_C void WINAPI Sleep(DWORD milliseconds);

/* The computer's name in capitals, up to its first dot, at most 15 characters. *size: on entry, the buffer's size with
 * the terminating zero; on return, the length without it, or after ERROR_BUFFER_OVERFLOW the size that is needed. */
#define MAX_COMPUTERNAME_LENGTH 15
EXTERN_C BOOL WINAPI GetComputerNameW(LPWSTR buffer, LPDWORD size);

#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x2
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x4

/* The module that contains an address. Supports only FROM_ADDRESS together with UNCHANGED_REFCOUNT. */
EXTERN_C BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR address, HMODULE* module);
/* The full path of a module; a null module is the program. */
EXTERN_C DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);
EXTERN_C HMODULE WINAPI LoadLibraryW(LPCWSTR path);
EXTERN_C FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
EXTERN_C BOOL WINAPI FreeLibrary(HMODULE module);

#endif

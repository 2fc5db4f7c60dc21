// SPDX-License-Identifier: MIT
//
// All compiler-specific definitions are in this header.
#ifndef LXCOMPILER_H
#define LXCOMPILER_H

#if defined(_WIN32)
#define LX_EXPORT __declspec(dllexport)
#define LX_IMPORT __declspec(dllimport)
#else
// Thread-local at a fixed offset from the thread pointer, so access needs no call. The loader reserves only a little
// such storage for modules that it loads late, so these variables must stay few and small.
#define LX_FAST_THREAD_LOCAL __attribute__((tls_model("initial-exec")))
#define LX_EXPORT __attribute__((visibility("default")))
#define LX_IMPORT LX_EXPORT
#endif

// Clang's CodeView debug information refers to the address of each variable. An emulated thread-local variable has no
// fixed address, so the reference would be an undefined symbol.
#if defined(_WIN32) && defined(__clang__)
#define LX_THREAD_LOCAL [[gnu::nodebug]] thread_local
#else
#define LX_THREAD_LOCAL thread_local
#endif

// With these, Clang checks that data guarded by a mutex is used only while the mutex is held (-Wthread-safety).
#if defined(__clang__)
#define LX_MUTEX __attribute__((capability("mutex")))
#define LX_MUTEX_SCOPE __attribute__((scoped_lockable))
#define LX_GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))
#define LX_NEEDS(mutex) __attribute__((requires_capability(mutex)))
#define LX_LOCKS(...) __attribute__((acquire_capability(__VA_ARGS__)))
#define LX_UNLOCKS(...) __attribute__((release_capability(__VA_ARGS__)))
#else
#define LX_MUTEX
#define LX_MUTEX_SCOPE
#define LX_GUARDED_BY(mutex)
#define LX_NEEDS(mutex)
#define LX_LOCKS(...)
#define LX_UNLOCKS(...)
#endif

#if defined(_MSC_VER)
#define LX_CURRENT_LINE 0
#define LX_CPU_RELAX() YieldProcessor()
#define LX_PREFETCH(address) static_cast<void>(address)
#else
#define LX_CURRENT_LINE __builtin_LINE()
#define LX_CPU_RELAX() __builtin_ia32_pause()
#define LX_PREFETCH(address) __builtin_prefetch(address)
#endif

#endif

// SPDX-License-Identifier: MIT
//
// The one place that knows which compiler this is.
#ifndef LXCOMPILER_H
#define LXCOMPILER_H

#if defined(_WIN32)
#define LX_EXPORT __declspec(dllexport)
#define LX_IMPORT __declspec(dllimport)
#else
// A thread-local variable at a fixed distance from the thread's pointer: no call finds it. A module that is loaded
// late gets room for all its thread-local variables in the little that the loader keeps for that, so they must be
// few.
#define LX_FAST_THREAD_LOCAL __attribute__((tls_model("initial-exec")))
#define LX_EXPORT __attribute__((visibility("default")))
#define LX_IMPORT LX_EXPORT
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

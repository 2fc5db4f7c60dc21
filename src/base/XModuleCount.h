// SPDX-License-Identifier: MIT
//
// Counts what keeps the module loaded: live objects and locks. Each module that links this code has counts of its own.
#ifndef XMODULECOUNT_H
#define XMODULECOUNT_H

#include <atomic>

class XModuleCount {
public:
    static long LiveObjects() noexcept { return s_liveObjects.load(std::memory_order_acquire); }
    static long Locks() noexcept { return s_locks.load(std::memory_order_acquire); }
    /// Whether the module may be unloaded.
    static bool IsIdle() noexcept { return LiveObjects() == 0 && Locks() == 0; }
    static void Lock() noexcept { s_locks.fetch_add(1, std::memory_order_relaxed); }
    static void Unlock() noexcept { s_locks.fetch_sub(1, std::memory_order_release); }

private:
    friend class XLiveObject;
    static inline std::atomic<long> s_liveObjects{0};
    static inline std::atomic<long> s_locks{0};
};

/// Base or member of every object that must keep the module loaded.
class XLiveObject {
public:
    XLiveObject() noexcept { XModuleCount::s_liveObjects.fetch_add(1, std::memory_order_relaxed); }
    XLiveObject(const XLiveObject&) noexcept : XLiveObject() {}
    XLiveObject& operator=(const XLiveObject&) noexcept = default;
    ~XLiveObject() { XModuleCount::s_liveObjects.fetch_sub(1, std::memory_order_release); }
};

#endif

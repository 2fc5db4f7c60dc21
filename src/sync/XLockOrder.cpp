// SPDX-License-Identifier: MIT
#include "XLockOrder.h"

#ifndef NDEBUG

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr const char* LevelNames[] = {"Fill",        "TypeEntry",     "TypeMap",   "BrowserIds", "Inheritance",
                                      "PCInfos",     "PCInfosNew",    "Relations", "PlanTypes",  "ComponentMap",
                                      "GlobalSpecs", "PropertyStore", "Leaf"};
static_assert(sizeof(LevelNames) / sizeof(LevelNames[0]) == static_cast<unsigned>(XLockLevel::Leaf) + 1);

struct Held {
    XLockLevel level;
    const void* lock;
};

// A plain array, so that nothing is destroyed when a thread ends after the module was unloaded. It is small because the
// loader reserves little thread-local storage for modules that it loads late.
constexpr unsigned MaxHeld = 32; // more than any code path takes
struct HeldByThread {
    Held held[MaxHeld];
    unsigned count;
};
thread_local HeldByThread t_held;

const char* NameOf(XLockLevel level) { return LevelNames[static_cast<unsigned>(level)]; }

bool MayNestInItself(XLockLevel level) { return level == XLockLevel::Fill || level == XLockLevel::Leaf; }

[[noreturn]] void Fail(const char* what, XLockLevel taken, XLockLevel held) {
    std::fprintf(stderr, "lock order: %s %s while %s is held\n", what, NameOf(taken), NameOf(held));
    std::fflush(stderr);
    std::abort();
}
} // namespace

void XLockPlace::Enter(const void* lock) const noexcept {
    for (unsigned i = 0; i < t_held.count; ++i) {
        // A lock is never recorded twice: counted locks and fill mutexes record only the thread's first acquisition,
        // and no other lock may be acquired again by the thread that holds it.
        const Held& held = t_held.held[i];
        const bool fine =
            held.level < m_level || (held.level == m_level && held.lock != lock && MayNestInItself(m_level));
        if (!fine) { Fail("taking", m_level, held.level); }
    }
    if (t_held.count < MaxHeld) // locks beyond the limit are not recorded, so not checked
    {
        t_held.held[t_held.count++] = {m_level, lock};
    }
}

void XLockPlace::Leave(const void* lock) const noexcept {
    for (unsigned i = t_held.count; i-- > 0;) {
        if (t_held.held[i].level == m_level && t_held.held[i].lock == lock) {
            Held* const place = t_held.held + i;
            std::copy(place + 1, t_held.held + t_held.count, place);
            --t_held.count;
            return;
        }
    }
}

void XLockPlace::AssertNoneHeld() noexcept {
    for (unsigned i = 0; i < t_held.count; ++i) {
        if (t_held.held[i].level != XLockLevel::Fill) {
            Fail("calling out below", XLockLevel::Fill, t_held.held[i].level);
        }
    }
}

#endif

// SPDX-License-Identifier: MIT
#include "XLockOrder.h"

#ifndef NDEBUG

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

// A plain array: nothing to destroy when a thread ends after the module is gone. It is small, since the loader keeps
// little room for the thread-local variables of modules that are loaded late.
constexpr unsigned MostHeld = 32; // more than any path of the code takes
struct HeldByThread {
    Held held[MostHeld];
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
        // Nobody notes the same lock twice: the counted locks and the fill mutexes note only what a thread takes
        // first, and nothing else may be taken again by the thread that has it.
        const Held& held = t_held.held[i];
        const bool fine =
            held.level < m_level || (held.level == m_level && held.lock != lock && MayNestInItself(m_level));
        if (!fine) { Fail("taking", m_level, held.level); }
    }
    if (t_held.count < MostHeld) // what finds no room is not checked
    {
        t_held.held[t_held.count++] = {m_level, lock};
    }
}

void XLockPlace::Leave(const void* lock) const noexcept {
    for (unsigned i = t_held.count; i-- > 0;) {
        if (t_held.held[i].level == m_level && t_held.held[i].lock == lock) {
            for (; i + 1 < t_held.count; ++i) {
                t_held.held[i] = t_held.held[i + 1];
            }
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

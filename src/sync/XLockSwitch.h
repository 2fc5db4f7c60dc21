// SPDX-License-Identifier: MIT
#ifndef XLOCKSWITCH_H
#define XLOCKSWITCH_H

#include <atomic>

/// The process-wide lock switch. It is on at load and turned off for good by server-mode initialisation: the host
/// then serialises all its calls to the component, in the whole process, and the counted locks make no lock calls. A
/// lock that is held or waited for at that moment is given back as it was taken, by its own record. Fill mutexes and
/// leaf mutexes do not look at the switch.
class XLockSwitch {
public:
    static bool IsOn() noexcept { return s_on.load(std::memory_order_acquire); }
    static void TurnOff() noexcept { s_on.store(false, std::memory_order_release); }

private:
    friend class XLockSwitchTestAccess; // tests turn it on again
    static inline std::atomic<bool> s_on{true};
};

#endif

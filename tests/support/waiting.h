// SPDX-License-Identifier: MIT
#ifndef WAITING_H
#define WAITING_H

#include <chrono>
#include <thread>

/// Waits until a condition holds; returns false on timeout.
template <class Condition> bool WaitFor(Condition&& condition, std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

#endif

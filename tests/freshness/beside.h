// SPDX-License-Identifier: MIT
#ifndef BESIDE_H
#define BESIDE_H

#include "XFill.h"

#include <functional>
#include <future>

/// Runs work on another thread that is already asking the server for something else. Such a thread does not wait for
/// other loads; it asks the server itself.
inline std::future<void> LXBeside(std::function<void()> work) {
    return std::async(std::launch::async, [work = std::move(work)] {
        XFillMutex mutex;
        const XFill asking(mutex, &mutex);
        work();
    });
}

#endif

// SPDX-License-Identifier: MIT
//
// What the component says of its work in the trace categories of the logbook: notifications with what each made
// stale, and calls to the server. One at a time; it takes the place of the logbook's sink.
//
// Threading  The sink is called on any thread. m_mutex guards everything but the thread's own count.
#ifndef XTRACE_H
#define XTRACE_H

#include "LXError32.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class XTrace {
public:
    /// A notification, and the names of what it made stale.
    struct Notification {
        std::string dataId;
        std::string mode;
        std::vector<std::string> stale;
        std::thread::id thread;
        std::chrono::steady_clock::time_point last; ///< when the last entry of it came
    };

    explicit XTrace(ULONG categories);
    ~XTrace();
    XTrace(const XTrace&) = delete;
    XTrace& operator=(const XTrace&) = delete;

    /// Those to which nothing was added for that long, in the order in which they came.
    std::vector<Notification> Take(std::chrono::milliseconds quiet);
    /// Calls to the server by method.
    std::map<std::string, unsigned long long> Calls() const;
    /// How many of them the calling thread has caused.
    static unsigned long long CallsOfThisThread() noexcept;

private:
    static void STDMETHODCALLTYPE Sink(const LXLogEntry* entry, void* context);
    void Add(const LXLogEntry& entry);

    mutable std::mutex m_mutex;
    std::vector<Notification> m_notifications;
    std::map<std::string, unsigned long long> m_calls;
};

#endif

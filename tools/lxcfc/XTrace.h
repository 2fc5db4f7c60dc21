// SPDX-License-Identifier: MIT
//
// Collects the component's trace entries: notifications with the aspects that each made stale, and calls to the server.
// It replaces the logbook's sink, so only one can exist at a time.
//
// Threading  The sink is called on any thread. m_mutex guards everything except the thread's own count.
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
    /// A notification, and the names of the aspects that it made stale.
    struct Notification {
        std::string dataId;
        std::string mode;
        std::vector<std::string> stale;
        std::thread::id thread;
        std::chrono::steady_clock::time_point last; ///< time of its last entry
    };

    explicit XTrace(ULONG categories);
    ~XTrace();
    XTrace(const XTrace&) = delete;
    XTrace& operator=(const XTrace&) = delete;

    /// Removes and returns the notifications without new entries for at least this long, in order of arrival.
    std::vector<Notification> Take(std::chrono::milliseconds quiet);
    /// Calls to the server by method.
    std::map<std::string, unsigned long long> Calls() const;
    /// The number of calls that the calling thread has caused.
    static unsigned long long CallsOfThisThread() noexcept;

private:
    static void STDMETHODCALLTYPE Sink(const LXLogEntry* entry, void* context);
    void Add(const LXLogEntry& entry);

    mutable std::mutex m_mutex;
    std::vector<Notification> m_notifications;
    std::map<std::string, unsigned long long> m_calls;
};

#endif

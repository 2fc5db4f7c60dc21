// SPDX-License-Identifier: MIT
#include "XTrace.h"

#include "XModelValue.h"

#include <algorithm>

namespace {
thread_local unsigned long long t_calls = 0;

/// The text between two others; "" if they do not occur.
std::string Between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t start = text.find(before);
    const std::size_t end = start == std::string::npos ? start : text.find(after, start + before.size());
    return end == std::string::npos ? "" : text.substr(start + before.size(), end - start - before.size());
}
} // namespace

XTrace::XTrace(ULONG categories) { LXErrorSetLogSink(&XTrace::Sink, this, categories); }

XTrace::~XTrace() { LXErrorSetLogSink(nullptr, nullptr, 0); }

void STDMETHODCALLTYPE XTrace::Sink(const LXLogEntry* entry, void* context) {
    static_cast<XTrace*>(context)->Add(*entry);
}

void XTrace::Add(const LXLogEntry& entry) {
    const std::string text = LXToUtf8(entry.pszText);
    const auto now = std::chrono::steady_clock::now();
    const auto self = std::this_thread::get_id();
    const std::lock_guard lock(m_mutex);
    if (entry.eCategory == LX_LOG_SERVER) {
        ++t_calls;
        ++m_calls[text];
    } else if (entry.eCategory == LX_LOG_UPDATE) {
        m_notifications.push_back(
            {Between(text, "CFDataID: '", "', Update Mode: "), Between(text, "Update Mode: ", ","), {}, self, now});
    } else if (entry.eCategory == LX_LOG_INVALIDATE) {
        // Each thread finishes a notification before it begins the next one.
        const auto newest = std::find_if(m_notifications.rbegin(), m_notifications.rend(),
                                         [self](const Notification& n) { return n.thread == self; });
        if (newest != m_notifications.rend()) {
            newest->stale.push_back(text);
            newest->last = now;
        }
    }
}

std::vector<XTrace::Notification> XTrace::Take(std::chrono::milliseconds quiet) {
    const auto limit = std::chrono::steady_clock::now() - quiet;
    const std::lock_guard lock(m_mutex);
    const auto busy = std::find_if(m_notifications.begin(), m_notifications.end(),
                                   [limit](const Notification& n) { return n.last > limit; });
    std::vector<Notification> taken(std::make_move_iterator(m_notifications.begin()), std::make_move_iterator(busy));
    m_notifications.erase(m_notifications.begin(), busy);
    return taken;
}

std::map<std::string, unsigned long long> XTrace::Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

unsigned long long XTrace::CallsOfThisThread() noexcept { return t_calls; }

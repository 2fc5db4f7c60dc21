// SPDX-License-Identifier: MIT
//
// Captures the logbook's entries during its lifetime.
#ifndef LOGCAPTURE_H
#define LOGCAPTURE_H

#include "XLXError.h"

#include <mutex>
#include <vector>

class LogCapture {
public:
    struct Entry {
        LXLogCategory category;
        std::string categoryName;
        LONG severity;
        HRESULT code;
        XLXText title;
        XLXText text;
        std::string source;
        std::string function;
        int line;
    };

    explicit LogCapture(ULONG categories = 1u << LX_LOG_ERROR) {
        LXErrorSetLogSink(&LogCapture::Receive, this, categories);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() { LXErrorSetLogSink(nullptr, nullptr, 0); }

    std::vector<Entry> Entries() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }

private:
    static std::string Narrow(const char* text) { return text != nullptr ? text : ""; }

    static void STDMETHODCALLTYPE Receive(const LXLogEntry* entry, void* context) {
        auto& self = *static_cast<LogCapture*>(context);
        const LXErrorLocation& at = entry->location;
        const std::lock_guard<std::mutex> lock(self.m_mutex);
        self.m_entries.push_back({entry->eCategory, entry->pszCategory, entry->lSeverity, entry->hrCode,
                                  entry->pszTitle, entry->pszText, Narrow(at.source),
                                  Narrow(at.scope) + "::" + Narrow(at.method), at.line});
    }

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

#endif

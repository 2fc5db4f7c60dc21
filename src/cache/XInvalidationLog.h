// SPDX-License-Identifier: MIT
//
// The trace of what a notification invalidated. Receivers work under locks of their owners, where nothing may
// be written to the logbook, so the entries are gathered and written when the outermost receiver returns.
#ifndef XINVALIDATIONLOG_H
#define XINVALIDATIONLOG_H

#include "XLXError.h"

#include <vector>

class XInvalidationLog
{
public:
    /// Gathers the entries of the calling thread, unless a scope further out does so already or none are
    /// wanted.
    class Scope
    {
    public:
        Scope() noexcept;
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

    private:
        std::vector<XLXText> m_entries;
        bool m_outermost;
    };

    /// Notes that something was invalidated, such as "XLXFormatCache" and "properties". One relaxed load when
    /// no entries are wanted.
    static void Add(const char* className, const char* what) noexcept
    {
        if (XLXError::TraceEnabled(LX_LOG_INVALIDATE))
        {
            AddEntry(className, what);
        }
    }

private:
    static void AddEntry(const char* className, const char* what) noexcept;
};

#endif

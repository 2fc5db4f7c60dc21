// SPDX-License-Identifier: MIT
#include "XInvalidationLog.h"

namespace
{
// A plain pointer: nothing of it outlives its thread's stack, so the module may be unloaded while threads
// live.
thread_local std::vector<XLXText>* t_entries = nullptr;
} // namespace

XInvalidationLog::Scope::Scope() noexcept
    : m_outermost(XLXError::TraceEnabled(LX_LOG_INVALIDATE) && t_entries == nullptr)
{
    if (m_outermost)
    {
        t_entries = &m_entries;
    }
}

XInvalidationLog::Scope::~Scope()
{
    if (m_outermost)
    {
        t_entries = nullptr;
        for (const XLXText& entry : m_entries)
        {
            XLXError::WriteTrace(LX_LOG_INVALIDATE, OLESTR("invalidated"), entry,
                                 LXHere("XInvalidationLog", nullptr, "DataObjectChanged"));
        }
    }
}

void XInvalidationLog::AddEntry(const char* className, const char* what) noexcept
{
    if (t_entries == nullptr)
    {
        return;
    }
    try
    {
        t_entries->push_back(XLXFormat() << className << ": " << what);
    }
    catch (...)
    {
        // A trace entry less; the invalidation itself has happened.
    }
}

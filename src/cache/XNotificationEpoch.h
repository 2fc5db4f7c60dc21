// SPDX-License-Identifier: MIT
#ifndef XNOTIFICATIONEPOCH_H
#define XNOTIFICATIONEPOCH_H

#include <atomic>
#include <cstdint>

/// Every change notification is counted before anything else happens with it, so that whoever reads in bulk
/// can tell that one came while the answer was on its way. A manager counts those that come to it; those that
/// come straight to a cached object, which may not know a manager any more, count for all of them.
class XNotificationEpoch
{
public:
    /// Changes with every notification: both parts only grow.
    std::uint64_t Note() const noexcept { return m_epoch.load() + s_direct.load(); }
    void Advance() noexcept { m_epoch.fetch_add(1); }

    /// The notifications that came straight to cached objects.
    static std::uint64_t NoteDirect() noexcept { return s_direct.load(); }
    static void AdvanceDirect() noexcept { s_direct.fetch_add(1); }

private:
    std::atomic<std::uint64_t> m_epoch{1};
    static inline std::atomic<std::uint64_t> s_direct{0};
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XNOTIFICATIONEPOCH_H
#define XNOTIFICATIONEPOCH_H

#include <atomic>
#include <cstdint>

/// Every change notification is counted before anything else happens with it, so that whoever reads in bulk
/// can tell that one came while the answer was on its way.
class XNotificationEpoch
{
public:
    std::uint64_t Note() const noexcept { return m_epoch.load(); }
    void Advance() noexcept { m_epoch.fetch_add(1); }

private:
    std::atomic<std::uint64_t> m_epoch{1};
};

#endif

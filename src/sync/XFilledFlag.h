// SPDX-License-Identifier: MIT
#ifndef XFILLEDFLAG_H
#define XFILLEDFLAG_H

#include <atomic>
#include <cstdint>

/// Says that something holds what the server had, for one generation of it.
///
/// Who fills notes the generation before asking the server, and sets the flag with that note, together with
/// the data and under the data's write lock. An invalidation only raises the generation: it waits for nobody,
/// and an answer that it overtook does not count as filled, however late that answer comes.
class XFilledFlag
{
public:
    std::uint64_t Note() const noexcept { return m_generation.load(); }
    void SetFilled(std::uint64_t noted) noexcept { m_filledAt.store(noted); }
    void Invalidate() noexcept { m_generation.fetch_add(1); }
    bool IsFilled() const noexcept { return m_filledAt.load() == m_generation.load(); }

private:
    std::atomic<std::uint64_t> m_generation{1};
    std::atomic<std::uint64_t> m_filledAt{0};
};

#endif

// SPDX-License-Identifier: MIT
#include "XServerCalls.h"

#include <algorithm>

std::size_t XServerCalls::Begin(const std::string& method, const std::string& text, int patience) {
    const std::lock_guard lock(m_mutex);
    if (m_givenUp) { throw XGivenUp(); }
    m_underWay.emplace(++m_last, Entry{method, text, Clock::now(), patience});
    return m_last;
}

void XServerCalls::End(std::size_t number) {
    const auto now = Clock::now();
    const std::lock_guard lock(m_mutex);
    const auto entry = m_underWay.extract(number);
    const std::chrono::duration<double, std::milli> took = now - entry.mapped().start;
    if (m_counts && !entry.mapped().method.empty()) { m_times[entry.mapped().method].push_back(took.count()); }
}

std::optional<std::string> XServerCalls::Hanging(std::chrono::milliseconds limit) const {
    const auto now = Clock::now();
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_underWay.begin(), m_underWay.end(), [&](const auto& entry) {
        return now - entry.second.start > limit * entry.second.patience;
    });
    return found != m_underWay.end() ? std::optional(found->second.text) : std::nullopt;
}

void XServerCalls::GiveUp() {
    const std::lock_guard lock(m_mutex);
    m_givenUp = true;
}

void XServerCalls::Count(bool times) {
    const std::lock_guard lock(m_mutex);
    m_counts = times;
}

std::map<std::string, std::vector<double>> XServerCalls::Times() const {
    const std::lock_guard lock(m_mutex);
    auto times = m_times;
    for (auto& [method, all] : times) {
        std::sort(all.begin(), all.end());
    }
    return times;
}

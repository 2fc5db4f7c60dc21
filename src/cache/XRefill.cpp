// SPDX-License-Identifier: MIT
#include "XRefill.h"

#include "XLXError.h"

#include <cstdlib>
#include <string_view>

namespace {
std::string_view Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}
} // namespace

XCallCosts::XCallCosts()
    : m_choice(Variable("LXREFILL") == "always"  ? Choice::Always
               : Variable("LXREFILL") == "never" ? Choice::Never
                                                 : Choice::ByCost) {}

void XCallCosts::Note(std::chrono::steady_clock::duration call) noexcept {
    const XLeafLock lock(m_mutex);
    m_recent[m_calls++ % m_recent.size()] = call;
}

bool XCallCosts::AreHigh() const noexcept {
    if (m_choice != Choice::ByCost) { return m_choice == Choice::Always; }
    decltype(m_recent) recent;
    std::size_t count = 0;
    {
        const XLeafLock lock(m_mutex);
        recent = m_recent;
        count = std::min(m_calls, recent.size());
    }
    const auto middle = recent.begin() + count / 2;
    std::nth_element(recent.begin(), middle, recent.begin() + count);
    return count >= MinCalls && *middle >= HighCost;
}

// True at most once for each state of the server. Other threads that read meanwhile ask for their own values.
bool XRefill::Begin() noexcept {
    std::uint64_t now = 0;
    m_values.ForEach([&](XAspect aspect) { now += m_clock->Now(aspect); });
    const XLeafLock lock(m_mutex);
    if (m_now != now) {
        m_now = now;
        m_found = 0;
        m_begun = false;
    }
    if (++m_found < m_enough.load() || m_begun || !m_costs->AreHigh()) { return false; }
    m_begun = true;
    return true;
}

// After a failure each object asks for its own values and reports its own failure.
bool XRefill::OnStale(XAspect values) noexcept {
    if (!m_values.Has(values) || !Begin()) { return false; }
    XLXError::LogFailure(OLESTR("reading stale values together failed"), {"XRefill", "XRefill", "OnStale", 0},
                         m_readAll);
    return true;
}

void XRefill::Restart() noexcept {
    const XLeafLock lock(m_mutex);
    m_now = 0;
}

// SPDX-License-Identifier: MIT
#include "XCallMonitor.h"

#include "LXCompiler.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <thread>

struct XCallGate::State {
    State(std::string_view callName, XCallPoint callPoint, int callCount)
        : name(callName), point(callPoint), calls(callCount) {}

    const std::string name;
    const XCallPoint point;

    std::mutex mutex; // guards the members below
    std::condition_variable changed;
    int calls; // number of further calls that stop here
    int arrived = 0;
    bool open = false;
};

namespace {
/// Whether this thread is inside a hook, which is then not called again.
LX_THREAD_LOCAL bool insideHook = false;

LX_THREAD_LOCAL int insideServer = 0; // nesting depth

struct XHookScope {
    XHookScope() { insideHook = true; }
    ~XHookScope() { insideHook = false; }
};
} // namespace

XInsideServer::XInsideServer() noexcept { ++insideServer; }
XInsideServer::~XInsideServer() { --insideServer; }
bool XInsideServer::Here() noexcept { return insideServer > 0; }

unsigned long long XCallCounts::Of(std::string_view name) const {
    const auto found = byName.find(name);
    return found != byName.end() ? found->second : 0;
}

unsigned long long XCallCounts::Total() const {
    unsigned long long total = 0;
    for (const auto& [name, count] : byName) {
        total += count;
    }
    return total;
}

XCallCounts XCallCounts::Since(const XCallCounts& earlier) const {
    XCallCounts difference;
    for (const auto& [name, count] : byName) {
        if (const auto before = earlier.Of(name); count > before) { difference.byName[name] = count - before; }
    }
    return difference;
}

std::string XCallCounts::Text() const {
    std::string text;
    for (const auto& [name, count] : byName) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    }
    return text;
}

XCallGate::~XCallGate() {
    if (m_state != nullptr) { Open(); }
}

void XCallGate::WaitUntilArrived(int calls, std::chrono::milliseconds limit) {
    std::unique_lock lock(m_state->mutex);
    if (!m_state->changed.wait_for(lock, limit, [&] { return m_state->arrived >= calls; })) {
        throw std::runtime_error("no call reached the gate at " + m_state->name);
    }
}

int XCallGate::Arrived() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->arrived;
}

void XCallGate::Open() {
    const std::lock_guard lock(m_state->mutex);
    m_state->open = true;
    m_state->changed.notify_all();
}

XCallMonitor::XCallMonitor() = default;
XCallMonitor::~XCallMonitor() = default;

XCallCounts XCallMonitor::Counts() const {
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

unsigned long long XCallMonitor::Of(std::string_view name) const {
    const std::lock_guard lock(m_mutex);
    return m_counts.Of(name);
}

unsigned long long XCallMonitor::Total() const {
    const std::lock_guard lock(m_mutex);
    return m_counts.Total();
}

void XCallMonitor::Reset() {
    const std::lock_guard lock(m_mutex);
    m_counts.byName.clear();
}

void XCallMonitor::SetDelay(std::chrono::microseconds delay) {
    const std::lock_guard lock(m_mutex);
    m_delay = delay;
}

void XCallMonitor::FailCall(std::string_view name, HRESULT result, unsigned long long n) {
    const std::lock_guard lock(m_mutex);
    m_failures.push_back({std::string(name), result, std::max(n, 1ull), false});
}

void XCallMonitor::FailAlways(std::string_view name, HRESULT result) {
    const std::lock_guard lock(m_mutex);
    m_failures.push_back({std::string(name), result, 0, true});
}

void XCallMonitor::StopFailing() {
    const std::lock_guard lock(m_mutex);
    m_failures.clear();
}

void XCallMonitor::Alter(std::string_view name, Alteration alteration) {
    const std::lock_guard lock(m_mutex);
    m_alterations[std::string(name)] = std::make_shared<const Alteration>(std::move(alteration));
}

XCallGate XCallMonitor::PauseAt(std::string_view name, XCallPoint point, int calls) {
    auto state = std::make_shared<XCallGate::State>(name, point, calls);
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_gates, [](const auto& gate) { return gate.use_count() == 1; }); // no longer in use
    m_gates.push_back(state);
    return XCallGate(std::move(state));
}

void XCallMonitor::SetGateLimit(std::chrono::milliseconds limit) {
    const std::lock_guard lock(m_mutex);
    m_gateLimit = limit;
}

void XCallMonitor::SetHook(Hook hook) {
    auto shared = hook ? std::make_shared<const Hook>(std::move(hook)) : nullptr;
    const std::lock_guard lock(m_mutex);
    m_hook.swap(shared);
}

void XCallMonitor::SetStandingHook(Hook hook) {
    auto shared = hook ? std::make_shared<const Hook>(std::move(hook)) : nullptr;
    const std::lock_guard lock(m_mutex);
    m_standingHook.swap(shared);
}

std::vector<std::string> XCallMonitor::Problems() const {
    const std::lock_guard lock(m_mutex);
    return m_problems;
}

XCallMonitor::Entry XCallMonitor::Enter(std::string_view name) {
    Entry entry;
    std::chrono::microseconds delay{0};
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_counts.byName.find(name);
        entry.number = found != m_counts.byName.end() ? ++found->second : m_counts.byName[std::string(name)] = 1;
        delay = m_delay;
        entry.result = TakeFailure(name);
        if (const auto altered = m_alterations.find(name); altered != m_alterations.end()) {
            entry.alteration = altered->second;
        }
    }
    if (delay.count() > 0) { std::this_thread::sleep_for(delay); }
    PassPoint(name, XCallPoint::Arrival, entry.number);
    return entry;
}

void XCallMonitor::Leave(std::string_view name, unsigned long long number) {
    PassPoint(name, XCallPoint::Answer, number);
}

/// The failure for this call, if any. The caller holds the mutex.
std::optional<HRESULT> XCallMonitor::TakeFailure(std::string_view name) {
    std::optional<HRESULT> result;
    std::erase_if(m_failures, [&](Failure& failure) {
        const bool matches = failure.name.empty() || failure.name == name;
        const bool strikes = matches && (failure.always || --failure.left == 0);
        if (strikes) { result = failure.result; }
        return strikes && !failure.always;
    });
    return result;
}

void XCallMonitor::PassPoint(std::string_view name, XCallPoint point, unsigned long long number) {
    Wait(name, point);
    std::shared_ptr<const Hook> hooks[2];
    {
        const std::lock_guard lock(m_mutex);
        hooks[0] = m_standingHook;
        hooks[1] = m_hook;
    }
    for (const auto& hook : hooks) {
        if (hook != nullptr && !insideHook) {
            const XHookScope scope;
            (*hook)({name, point, number});
        }
    }
}

void XCallMonitor::Wait(std::string_view name, XCallPoint point) {
    std::vector<std::shared_ptr<XCallGate::State>> gates;
    std::chrono::milliseconds limit{0};
    {
        const std::lock_guard lock(m_mutex);
        gates = m_gates;
        limit = m_gateLimit;
    }
    for (const auto& gate : gates) {
        std::unique_lock lock(gate->mutex);
        if (gate->name != name || gate->point != point || gate->open || gate->calls == 0) { continue; }
        --gate->calls;
        ++gate->arrived;
        gate->changed.notify_all();
        if (!gate->changed.wait_for(lock, limit, [&] { return gate->open; })) {
            std::fprintf(stderr, "GATE: nobody let %s go on\n", gate->name.c_str());
            const std::lock_guard problems(m_mutex);
            m_problems.push_back("nobody let " + gate->name + " go on");
        }
    }
}

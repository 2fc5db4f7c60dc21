// SPDX-License-Identifier: MIT
//
// Watches the calls that come to the sample server from outside, and tampers with them on demand: counts, delays,
// failures, gates and a hook. A call is named "Interface::Method"; IUnknown's methods are no calls.
//
// Threading  Every method may be called from any thread. No lock is held while a hook runs or a call waits.
// Errors     A gate that nobody reaches in time raises std::runtime_error; a call that nobody lets go on in time goes
//            on by itself, and Problems() and standard error say so.
#ifndef XCALLMONITOR_H
#define XCALLMONITOR_H

#include "XLXComPtr.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The two moments of a call. At Arrival nothing was read yet; at Answer the answer is complete, made from the model
/// as it was before, and about to be returned.
enum class XCallPoint { Arrival, Answer };

/// What a hook is told.
struct XServerCall {
    std::string_view name; ///< "Interface::Method"
    XCallPoint point;
    unsigned long long number; ///< 1 for the first call of that method since the last Reset
};

/// Numbers of calls by name.
struct XCallCounts {
    std::map<std::string, unsigned long long, std::less<>> byName;

    unsigned long long Of(std::string_view name) const;
    unsigned long long Total() const;
    /// What came in after an earlier count.
    XCallCounts Since(const XCallCounts& earlier) const;
    /// "3 ILXType::GetPage, 1 ..." for messages.
    std::string Text() const;
};

/// A gate: the next calls of one method stop there until it is opened. Destroying it opens it.
class XCallGate {
public:
    struct State; // shared with the monitor

    explicit XCallGate(std::shared_ptr<State> state) noexcept : m_state(std::move(state)) {}
    XCallGate(XCallGate&&) noexcept = default;
    XCallGate& operator=(XCallGate&&) = delete;
    ~XCallGate();

    /// Waits until that many calls have come to the gate.
    void WaitUntilArrived(int calls = 1, std::chrono::milliseconds limit = std::chrono::seconds(10));
    int Arrived() const;
    /// Lets all calls go on, those that come later too.
    void Open();

private:
    std::shared_ptr<State> m_state;
};

/// While one lives, its thread runs the server's own code. Faults that are meant for a client leave it alone.
class XInsideServer {
public:
    XInsideServer() noexcept;
    ~XInsideServer();
    XInsideServer(const XInsideServer&) = delete;
    XInsideServer& operator=(const XInsideServer&) = delete;

    static bool Here() noexcept;
};

class XCallMonitor {
public:
    using Hook = std::function<void(const XServerCall&)>;

    XCallMonitor();
    ~XCallMonitor();

    XCallCounts Counts() const;
    unsigned long long Of(std::string_view name) const;
    unsigned long long Total() const;
    void Reset();

    /// Every call takes at least that long, as over a slow network; 0 is off.
    void SetDelay(std::chrono::microseconds delay);

    /// The n-th call of that method from now on (1 is the next one) answers that result and nothing else: all its out
    /// arguments stay empty. S_OK makes a success without a result. An empty name means any method.
    void FailCall(std::string_view name, HRESULT result, unsigned long long n = 1);
    /// Every call of that method from now on answers that result.
    void FailAlways(std::string_view name, HRESULT result);
    void StopFailing();

    /// The next calls of that method stop at the given point.
    [[nodiscard]] XCallGate PauseAt(std::string_view name, XCallPoint point = XCallPoint::Arrival, int calls = 1);
    /// How long a call waits at a gate before it goes on by itself.
    void SetGateLimit(std::chrono::milliseconds limit);

    /// Called at both points of every call, on the calling thread. Calls to the server that a hook causes on its own
    /// thread are counted, but do not call it again. An empty function ends it.
    void SetHook(Hook hook);
    /// A second one, called before the first, for what goes on through a whole test.
    void SetStandingHook(Hook hook);

    /// What went wrong with gates, for the end of a test.
    std::vector<std::string> Problems() const;

    struct Entry {
        unsigned long long number = 0;
        std::optional<HRESULT> result; ///< what the call is to return instead of doing its work
    };

    /// For the server's objects: the first and the last thing of each call.
    Entry Enter(std::string_view name);
    void Leave(std::string_view name, unsigned long long number);

private:
    struct Failure {
        std::string name;
        HRESULT result;
        unsigned long long left; // calls until it strikes
        bool always;
    };

    void PassPoint(std::string_view name, XCallPoint point, unsigned long long number);
    std::optional<HRESULT> TakeFailure(std::string_view name);
    void Wait(std::string_view name, XCallPoint point);

    mutable std::mutex m_mutex; // guards all of the following
    XCallCounts m_counts;
    std::chrono::microseconds m_delay{0};
    std::chrono::milliseconds m_gateLimit{std::chrono::seconds(20)};
    std::vector<Failure> m_failures;
    std::vector<std::shared_ptr<XCallGate::State>> m_gates;
    std::shared_ptr<const Hook> m_hook;
    std::shared_ptr<const Hook> m_standingHook;
    std::vector<std::string> m_problems;
};

#endif

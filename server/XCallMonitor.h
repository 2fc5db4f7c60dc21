// SPDX-License-Identifier: MIT
//
// Watches the calls of clients to the sample server and manipulates them on demand: counts, delays, failures, changed
// results, gates and hooks. A call is named "Interface::Method"; the methods of IUnknown are not counted.
//
// Threading  Thread-safe. No lock is held while a hook or an alteration runs or a call waits.
// Errors     Waiting for a call at a gate raises std::runtime_error after the limit. A call that waits too long at a
//            gate proceeds, which is reported in Problems() and on standard error.
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

/// The two points of a call. At Arrival nothing has been read yet; at Answer the answer is complete, built from the
/// model as it was, and about to be returned.
enum class XCallPoint { Arrival, Answer };

/// The argument of a hook.
struct XServerCall {
    std::string_view name; ///< "Interface::Method"
    XCallPoint point;
    unsigned long long number; ///< 1 for the first call of the method since the last Reset
};

/// Numbers of calls by name.
struct XCallCounts {
    std::map<std::string, unsigned long long, std::less<>> byName;

    unsigned long long Of(std::string_view name) const;
    unsigned long long Total() const;
    /// The calls since an earlier count.
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

    /// Waits until this many calls have reached the gate.
    void WaitUntilArrived(int calls = 1, std::chrono::milliseconds limit = std::chrono::seconds(10));
    int Arrived() const;
    /// Lets all calls proceed, including later ones.
    void Open();

private:
    std::shared_ptr<State> m_state;
};

/// While an instance exists, its thread runs the server's own code, which failures meant for clients do not affect.
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
    /// Changes the result of a call and what its first out parameter points to (null if it has none).
    using Alteration = std::function<HRESULT(HRESULT result, void** out)>;

    XCallMonitor();
    ~XCallMonitor();

    XCallCounts Counts() const;
    unsigned long long Of(std::string_view name) const;
    unsigned long long Total() const;
    void Reset();

    /// Makes every call take at least this long, as over a slow network; 0 turns the delay off.
    void SetDelay(std::chrono::microseconds delay);

    /// Makes the n-th call of a method from now on (1: the next one) return this result and do nothing else; its out
    /// arguments stay empty. S_OK makes a success without a result. An empty name means any method.
    void FailCall(std::string_view name, HRESULT result, unsigned long long n = 1);
    /// Makes every call of a method from now on return this result.
    void FailAlways(std::string_view name, HRESULT result);
    void StopFailing();
    /// Applies a function to every result of a method from now on, on the calling thread.
    void Alter(std::string_view name, Alteration alteration);

    /// Makes the next calls of a method stop at the given point.
    [[nodiscard]] XCallGate PauseAt(std::string_view name, XCallPoint point = XCallPoint::Arrival, int calls = 1);
    /// Limits the time that a call waits at a gate.
    void SetGateLimit(std::chrono::milliseconds limit);

    /// Sets a function that is called at both points of every call, on the calling thread. Calls to the server that it
    /// makes on that thread are counted, but do not call it again. An empty function removes the hook.
    void SetHook(Hook hook);
    /// Sets a second hook, called before the first one, that stays for a whole test.
    void SetStandingHook(Hook hook);

    /// The problems with gates so far, to check at the end of a test.
    std::vector<std::string> Problems() const;

    struct Entry {
        unsigned long long number = 0;
        std::optional<HRESULT> result;                ///< to be returned by the call instead of doing its work
        std::shared_ptr<const Alteration> alteration; ///< to be applied to the result; null: none
    };

    /// For the server's objects: called at the beginning and at the end of each call.
    Entry Enter(std::string_view name);
    void Leave(std::string_view name, unsigned long long number);

private:
    struct Failure {
        std::string name;
        HRESULT result;
        unsigned long long left; // calls until the failure
        bool always;
    };

    void PassPoint(std::string_view name, XCallPoint point, unsigned long long number);
    std::optional<HRESULT> TakeFailure(std::string_view name);
    void Wait(std::string_view name, XCallPoint point);

    mutable std::mutex m_mutex; // guards the members below
    XCallCounts m_counts;
    std::chrono::microseconds m_delay{0};
    std::chrono::milliseconds m_gateLimit{std::chrono::seconds(20)};
    std::vector<Failure> m_failures;
    std::map<std::string, std::shared_ptr<const Alteration>, std::less<>> m_alterations; // by method
    std::vector<std::shared_ptr<XCallGate::State>> m_gates;
    std::shared_ptr<const Hook> m_hook;
    std::shared_ptr<const Hook> m_standingHook;
    std::vector<std::string> m_problems;
};

#endif

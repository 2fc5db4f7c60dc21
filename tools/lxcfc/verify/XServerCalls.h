// SPDX-License-Identifier: MIT
//
// The calls that the verification makes: those in progress with their start times, and the durations by method.
//
// Threading  Thread-safe.
// Errors     After GiveUp a new call throws XGivenUp, which ends its thread.
#ifndef XSERVERCALLS_H
#define XSERVERCALLS_H

#include "LXConfigFactoryCache.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Ends a thread of an abandoned verification.
struct XGivenUp {};

class XServerCalls {
public:
    using Clock = std::chrono::steady_clock;

    /// Makes a call.
    /// @param method    the method for which the duration is counted; "" for none
    /// @param text      the call with its arguments, for messages
    /// @param patience  the allowed duration, as a multiple of the limit
    template <class F> HRESULT Make(const std::string& method, const std::string& text, F&& call, int patience = 1) {
        const std::size_t number = Begin(method, text, patience);
        const HRESULT result = call();
        End(number);
        return result;
    }

    /// A call in progress that has exceeded the limit, if any.
    std::optional<std::string> Hanging(std::chrono::milliseconds limit) const;
    void GiveUp();
    /// Turns the counting of durations on or off. It is off while several threads call at once.
    void Count(bool times);
    /// The durations of calls by method, in milliseconds, sorted.
    std::map<std::string, std::vector<double>> Times() const;

private:
    struct Entry {
        std::string method;
        std::string text;
        Clock::time_point start;
        int patience;
    };

    std::size_t Begin(const std::string& method, const std::string& text, int patience);
    void End(std::size_t number);

    mutable std::mutex m_mutex;
    std::map<std::size_t, Entry> m_underWay;
    std::size_t m_last = 0;
    bool m_givenUp = false;
    bool m_counts = true;
    std::map<std::string, std::vector<double>> m_times;
};

#endif

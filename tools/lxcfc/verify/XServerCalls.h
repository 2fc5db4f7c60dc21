// SPDX-License-Identifier: MIT
//
// The calls that the verification makes: which are under way and since when, and how long each method took.
//
// Threading  May be used from any thread.
// Errors     Once the verification was given up a new call raises XGivenUp, so that its thread ends.
#ifndef XSERVERCALLS_H
#define XSERVERCALLS_H

#include "LXConfigFactoryCache.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Nobody waits for the verification any more.
struct XGivenUp {};

class XServerCalls {
public:
    using Clock = std::chrono::steady_clock;

    /// Makes a call.
    /// @param method  under which its time is counted; "" for none
    /// @param text    the call with its arguments, for messages
    /// @param patience  how many limits it may take
    template <class F> HRESULT Make(const std::string& method, const std::string& text, F&& call, int patience = 1) {
        const std::size_t number = Begin(method, text, patience);
        const HRESULT result = call();
        End(number);
        return result;
    }

    /// A call that has been under way for longer than the limit.
    std::optional<std::string> Hanging(std::chrono::milliseconds limit) const;
    void GiveUp();
    /// Whether the times of calls count. They do not while several threads call at once.
    void Count(bool times);
    /// Milliseconds that calls took, by method, in rising order.
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

// SPDX-License-Identifier: MIT
//
// Shows the progress of long work: a bar on a terminal, a line every ten seconds in a log.
#ifndef XPROGRESS_H
#define XPROGRESS_H

#include "XToolOutput.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

class XProgress {
public:
    XProgress(std::string what, std::size_t steps)
        : m_what(std::move(what)),
          m_steps(steps),
          m_isTerminal(XToolOutput::IsErrorTerminal()),
          m_interval(m_isTerminal ? 100 : 10000) {}
    ~XProgress() {
        if (m_drawn) { std::fprintf(stderr, "\r\x1b[K"); }
    }
    XProgress(const XProgress&) = delete;
    XProgress& operator=(const XProgress&) = delete;

    void Step() {
        ++m_done;
        const auto now = std::chrono::steady_clock::now();
        if (m_steps > 0 && now - m_last >= m_interval) {
            m_last = now;
            m_isTerminal ? Draw() : Say();
        }
    }

private:
    unsigned Percent() const { return static_cast<unsigned>(100 * std::min(m_done, m_steps) / m_steps); }

    void Draw() {
        constexpr std::size_t Width = 30;
        const std::size_t filled = Width * std::min(m_done, m_steps) / m_steps;
        std::fprintf(stderr, "\r%s [%s%s] %3u %%\x1b[K", m_what.c_str(), std::string(filled, '#').c_str(),
                     std::string(Width - filled, '.').c_str(), Percent());
        std::fflush(stderr);
        m_drawn = true;
    }

    void Say() const {
        std::fprintf(stderr, "lxcfc: %s: %u %% (%zu of %zu)\n", m_what.c_str(), Percent(), m_done, m_steps);
        std::fflush(stderr);
    }

    std::string m_what;
    std::size_t m_steps;
    std::size_t m_done = 0;
    bool m_isTerminal;
    std::chrono::milliseconds m_interval;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
};

#endif

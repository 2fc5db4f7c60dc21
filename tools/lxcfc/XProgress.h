// SPDX-License-Identifier: MIT
//
// A bar on standard error for work that takes long, where somebody sees it.
#ifndef XPROGRESS_H
#define XPROGRESS_H

#include "XToolOutput.h"

#include <chrono>
#include <cstdio>

class XProgress {
public:
    XProgress(std::string what, std::size_t steps)
        : m_what(std::move(what)), m_steps(steps), m_shown(XToolOutput::IsErrorTerminal() && steps > 0) {}
    ~XProgress() {
        if (m_drawn) { std::fprintf(stderr, "\r\x1b[K"); }
    }
    XProgress(const XProgress&) = delete;
    XProgress& operator=(const XProgress&) = delete;

    void Step() {
        ++m_done;
        const auto now = std::chrono::steady_clock::now();
        if (m_shown && now - m_last >= std::chrono::milliseconds(100)) {
            m_last = now;
            Draw();
        }
    }

private:
    void Draw() {
        constexpr std::size_t Width = 30;
        const std::size_t filled = Width * std::min(m_done, m_steps) / m_steps;
        std::fprintf(stderr, "\r%s [%s%s] %3u %%\x1b[K", m_what.c_str(), std::string(filled, '#').c_str(),
                     std::string(Width - filled, '.').c_str(),
                     static_cast<unsigned>(100 * std::min(m_done, m_steps) / m_steps));
        std::fflush(stderr);
        m_drawn = true;
    }

    std::string m_what;
    std::size_t m_steps;
    std::size_t m_done = 0;
    bool m_shown;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
};

#endif

// SPDX-License-Identifier: MIT
//
// Prints each notification with the aspects of the cache that it made stale.
#include "XCommands.h"
#include "XSurvey.h"
#include "XTrace.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>

namespace {
volatile std::sig_atomic_t g_interrupted = 0;

class WatchCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option("--edit", m_edits,
                       "Make an edit, as JSON: {\"edit\":\"SetAttributeProperty\",\"type\":\"Pump\",...}; may "
                       "be repeated, and - reads edits from standard input, one per line");
        app.add_option("--random", m_random, "Make this many random edits");
        app.add_option("--seed", m_seed, "Seed of the random edits")->capture_default_str();
        app.add_option("--seconds", m_seconds,
                       "Seconds to watch after the edits (default: 0, or until interrupted if there are no edits)");
    }
    int Run(XRun& run) {
        XCfcSession& session = run.Session();
        LXExpectThat(session.HasNotifications(), "the server offers no ILXDataUpdate: there is nothing to watch");
        const bool edited = !m_edits.empty() || m_random > 0;
        if (edited) { session.NeedSample(m_edits.empty() ? "--random" : "--edit"); }
        XSurvey(session.Cached(), session.Cache()).AskEverything("Filling"); // data that can become stale
        XTrace trace((1u << LX_LOG_UPDATE) | (1u << LX_LOG_INVALIDATE));
        for (const std::string& edit : m_edits) {
            edit == "-" ? EditFromInput(run, session, trace) : Edit(run, session, trace, edit);
        }
        for (unsigned i = 0; i < m_random; ++i) {
            session.EditAtRandom(m_seed + i, 1, true);
            WaitFor(1, run, trace, session);
        }
        LXExpectThat(edited || m_seconds > 0 || !IsQuiet(session),
                     "nobody else edits a server in this process: request edits with --edit or --random");
        Wait(run, session, trace, !edited && m_seconds == 0);
        return ExitOk;
    }

private:
    /// The sample server in this process: nobody else edits it, and it notifies before an edit returns.
    static bool IsQuiet(const XCfcSession& session) {
        return session.Server().IsLocal() && session.Server().IsSample();
    }

    void Edit(XRun& run, XCfcSession& session, XTrace& trace, const std::string& edit) {
        const XNotification sent = session.Server().Edit(edit);
        const bool isFirst = m_lastId == 0;
        const std::size_t ids = sent.id > m_lastId ? (isFirst ? 1 : sent.id - m_lastId) : 0;
        m_lastId = std::max(m_lastId, sent.id);
        WaitFor(sent.clients > 0 ? ids : 0, run, trace, session);
    }

    /// Prints notifications until this many more have arrived, because another process may send them after the edit has
    /// returned. Edit passes the number of ids that the server has used since the last edit.
    void WaitFor(std::size_t notifications, XRun& run, XTrace& trace, const XCfcSession& session) {
        constexpr auto MostTime = std::chrono::seconds(20);
        m_expected = std::max(m_expected, m_seen) + notifications;
        const auto end = std::chrono::steady_clock::now() + MostTime;
        for (Print(run, trace, session); m_seen < m_expected && !IsQuiet(session);) {
            LXExpectThat(std::chrono::steady_clock::now() < end, "the notification of an edit has not arrived");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            Print(run, trace, session);
        }
    }

    void EditFromInput(XRun& run, XCfcSession& session, XTrace& trace) {
        for (std::string line; std::getline(std::cin, line);) {
            if (line.find_first_not_of(" \t\r") != std::string::npos) { Edit(run, session, trace, line); }
        }
    }

    void Wait(XRun& run, XCfcSession& session, XTrace& trace, bool endless) {
        std::signal(SIGINT, [](int) { g_interrupted = 1; });
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(static_cast<long long>(m_seconds * 1000));
        while (g_interrupted == 0 && (endless || std::chrono::steady_clock::now() < end)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            Print(run, trace, session);
        }
    }

    // A notification from another thread may still be in progress. It is printed after 100 ms without new entries.
    void Print(XRun& run, XTrace& trace, const XCfcSession& session) {
        const std::chrono::milliseconds quiet(IsQuiet(session) ? 0 : 100);
        for (const XTrace::Notification& notification : trace.Take(quiet)) {
            ++m_seen;
            run.Printer().PrintNext({{"notification", notification.dataId},
                                     {"mode", std::strtol(notification.mode.c_str(), nullptr, 10)},
                                     {"stale", notification.stale}});
        }
    }

    std::vector<std::string> m_edits;
    unsigned m_random = 0;
    unsigned m_seed = 1;
    double m_seconds = 0;
    ULONG m_lastId = 0;
    std::size_t m_seen = 0;
    std::size_t m_expected = 0;
};
} // namespace

void LXAddWatchCommand(XCommands& commands) {
    commands.Add<WatchCommand>("watch", "Each notification, and what it made stale");
}

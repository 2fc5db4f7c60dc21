// SPDX-License-Identifier: MIT
//
// A cache for a sample server that runs in this process or in a separate one.
#ifndef XDEMOSESSION_H
#define XDEMOSESSION_H

#include "XToolCom.h"
#include "XToolComponent.h"
#include "XToolOutput.h"
#include "XToolServer.h"

#include <chrono>
#include <utility>

/// The cost of a measured piece of work.
struct XMeasured {
    XCallCounts calls;
    double milliseconds = 0;
};

class XDemoSession {
public:
    XDemoSession(const XToolComponent& component, std::unique_ptr<XToolServer> server);

    /// Initialises the cache like an application: one bulk read brings all types with all their components.
    XMeasured StartAsClient() { return StartAsClient(EverythingInBulk, false); }
    /// Like StartAsClient, but with a separate callback object that forwards the server's calls to the cache. The
    /// types' components are fetched on demand.
    XMeasured StartWithSeparateCallback() { return StartAsClient(TypesInBulk, true); }
    /// Initialises the cache like the server's own process: it wraps the server's objects.
    XMeasured StartInServer();
    /// Reverts the edits and terminates the cache. Raises XToolFailure if the cache keeps a reference to an object of
    /// the server.
    void Finish();

    XToolServer& Server() const { return *m_server; }
    /// Applies an edit to the server. Finish applies `backwards` to revert it, because a server in its own process
    /// outlives the demo.
    XNotification Edit(const std::string& json, std::string backwards);
    ILXConfigFactoryCache& Cache() const { return *m_cache; }
    /// The cache as a config factory.
    XLXComPtr<ILXConfigFactory> Factory() const { return m_cache.As<ILXConfigFactory>(); }
    /// The cached type of a new data object of this type.
    XLXComPtr<ILXType> CachedType(const char* name) const;

    /// Runs a piece of work and returns its cost.
    template <class Work> XMeasured Measure(Work&& work) const {
        const XCallCounts before = m_server->CallCounts();
        const auto start = std::chrono::steady_clock::now();
        std::forward<Work>(work)();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        return {m_server->CallCounts().Since(before), took.count()};
    }

private:
    static constexpr LONG TypesInBulk = 0;
    static constexpr LONG EverythingInBulk = LXTM_ATTRIBUTES | LXTM_GROUPS | LXTM_PAGES | LXTM_EDITORS;

    XMeasured StartAsClient(LONG transferMode, bool separateCallback);

    const std::unique_ptr<XToolServer> m_server;
    const XServerObjectCount m_before; // the references that others hold
    std::vector<std::string> m_backwards;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// Prints the number of calls by method.
void LXPrintCalls(XToolOutput& output, const XMeasured& measured);

#endif

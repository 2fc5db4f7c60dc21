// SPDX-License-Identifier: MIT
//
// A cache in front of a sample server, which runs in this process or in one of its own.
#ifndef XDEMOSESSION_H
#define XDEMOSESSION_H

#include "XToolCom.h"
#include "XToolComponent.h"
#include "XToolOutput.h"
#include "XToolServer.h"

#include <chrono>
#include <utility>

/// What a piece of work cost.
struct XMeasured {
    XCallCounts calls;
    double milliseconds = 0;
};

class XDemoSession {
public:
    XDemoSession(const XToolComponent& component, std::unique_ptr<XToolServer> server);

    /// Initialises the cache as an application does: the types arrive in one bulk read, with all their components.
    XMeasured StartAsClient() { return StartAsClient(EverythingInBulk, false); }
    /// The same with a callback object of its own, which passes the server's calls on to the cache. The types'
    /// components come when they are asked for.
    XMeasured StartWithSeparateCallback() { return StartAsClient(TypesInBulk, true); }
    /// Initialises it as the server's own process does: the server's objects are wrapped.
    XMeasured StartInServer();
    /// Takes the edits back and ends the cache. Raises XToolFailure when it keeps a reference to an object of the
    /// server.
    void Finish();

    XToolServer& Server() const { return *m_server; }
    /// An edit on the server, and the one that takes it back when the session is finished: a server of its own
    /// process serves others after this one.
    XNotification Edit(const std::string& json, std::string backwards);
    ILXConfigFactoryCache& Cache() const { return *m_cache; }
    /// The cache's config factory face.
    XLXComPtr<ILXConfigFactory> Factory() const { return m_cache.As<ILXConfigFactory>(); }
    /// The cached type of a new data object of that type.
    XLXComPtr<ILXType> CachedType(const char* name) const;

    /// Runs a piece of work and says what it cost.
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
    const XServerObjectCount m_before; // what others hold of the server
    std::vector<std::string> m_backwards;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// Prints calls by method.
void LXPrintCalls(XToolOutput& output, const XMeasured& measured);

#endif

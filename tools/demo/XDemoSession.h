// SPDX-License-Identifier: MIT
//
// A sample server with a cache in front of it.
#ifndef XDEMOSESSION_H
#define XDEMOSESSION_H

#include "XSampleServer.h"
#include "XToolCom.h"
#include "XToolComponent.h"
#include "XToolOutput.h"

#include <chrono>
#include <utility>

/// What a piece of work cost.
struct XMeasured
{
    XCallCounts calls;
    double milliseconds = 0;
};

class XDemoSession
{
public:
    XDemoSession(const XToolComponent& component, XServerModel model);

    /// Initialises the cache as an application does: the types with all their components arrive in one bulk
    /// read.
    XMeasured StartAsClient();
    /// Initialises it as the server's own process does: the server's objects are wrapped.
    XMeasured StartInServer();
    /// Ends the cache. Raises XToolFailure when it keeps a reference to an object of the server.
    void Finish();

    XSampleServer& Server() const { return *m_server; }
    ILXConfigFactoryCache& Cache() const { return *m_cache; }
    /// The cache's config factory face.
    XLXComPtr<ILXConfigFactory> Factory() const { return m_cache.As<ILXConfigFactory>(); }
    /// The cached type of a new data object of that type.
    XLXComPtr<ILXType> CachedType(const char* name) const;

    /// Runs a piece of work and says what it cost.
    template <class Work>
    XMeasured Measure(Work&& work) const
    {
        const XCallCounts before = m_server->Calls().Counts();
        const auto start = std::chrono::steady_clock::now();
        std::forward<Work>(work)();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        return {m_server->Calls().Counts().Since(before), took.count()};
    }

private:
    std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// Prints calls by method.
void LXPrintCalls(XToolOutput& output, const XMeasured& measured);

#endif

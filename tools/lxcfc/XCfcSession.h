// SPDX-License-Identifier: MIT
//
// A server with a cache in front of it, and what the commands ask of both.
//
// Errors     XToolFailure.
#ifndef XCFCSESSION_H
#define XCFCSESSION_H

#include "XToolCom.h"
#include "XToolComponent.h"
#include "XToolServer.h"

/// Which server.
struct XServerChoice {
    std::string name;   ///< a server's library, or a registered server's ProgID or class id, where it is not empty
    std::string model;  ///< else a model file in this process; the shipped one where it is empty
    int generated = 0;  ///< else, where it is not 0, a generated model with that many types
    double delay = 0;   ///< milliseconds that each call to it takes
};

/// That server, without a cache in front of it.
std::unique_ptr<XToolServer> LXMakeServer(const XServerChoice& choice);

class XCfcSession {
public:
    explicit XCfcSession(const XServerChoice& choice);
    /// Ends the cache.
    ~XCfcSession();
    XCfcSession(const XCfcSession&) = delete;
    XCfcSession& operator=(const XCfcSession&) = delete;

    XToolServer& Server() const { return *m_server; }
    /// The server's own config factory, and the cache's.
    ILXConfigFactory& Direct() const { return *m_direct; }
    ILXConfigFactory& Cached() const { return *m_factory; }
    ILXConfigFactoryCache& Cache() const { return *m_cache; }

    /// By how many KiB the process grew when the cache was filled.
    std::size_t MemoryOfTheCache() const { return m_memory; }

    /// Whether the cache is notified of changes.
    bool HasNotifications() const { return m_hasNotifications; }
    /// Raises unless the server is the sample server, which alone can do what an option asks for.
    void NeedSample(const char* option) const;

    /// The cached type of that name. Raises when there is none.
    XLXComPtr<ILXType> Type(const std::string& name) const;
    /// The browser ids, in the server's order.
    std::vector<std::string> Browsers() const;
    /// Raises unless there is a browser of that name, whatever the case; "" stands for all.
    void NeedBrowser(const std::string& name) const;
    /// Makes random edits on the server.
    XNotification EditAtRandom(unsigned seed, unsigned count, bool notify) const;

private:
    void Initialize();

    XToolComponent m_component;
    std::unique_ptr<XToolServer> m_server;
    XLXComPtr<ILXConfigFactory> m_direct;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    XLXComPtr<ILXConfigFactory> m_factory;
    std::size_t m_memory = 0;
    bool m_hasNotifications = false;
};

/// The server that a name stands for: that of a library or of a model file where the name looks like a file's, else a
/// registered one.
std::unique_ptr<XToolServer> LXServerNamed(const std::string& name);

/// The model that is shipped with the program: beside it, where it was installed to, or in the source tree.
std::string LXShippedModel();

#endif

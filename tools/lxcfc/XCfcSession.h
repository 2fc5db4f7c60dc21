// SPDX-License-Identifier: MIT
//
// A server with a cache in front of it, for the commands.
//
// Errors     XToolFailure.
#ifndef XCFCSESSION_H
#define XCFCSESSION_H

#include "XToolCom.h"
#include "XToolComponent.h"
#include "XToolServer.h"

/// Selects the server.
struct XServerChoice {
    std::string name;  ///< a server's library, or a registered server's ProgID or class id; empty: the sample server
    std::string model; ///< for the sample server: its model file; empty: the shipped one
    int generated = 0; ///< for the sample server: the number of types of a generated model; 0: the model file
    double delay = 0;  ///< for the sample server: the milliseconds that each call takes
};

/// The selected server, without a cache.
std::unique_ptr<XToolServer> LXMakeServer(const XServerChoice& choice);

class XCfcSession {
public:
    explicit XCfcSession(const XServerChoice& choice);
    /// Terminates the cache.
    ~XCfcSession();
    XCfcSession(const XCfcSession&) = delete;
    XCfcSession& operator=(const XCfcSession&) = delete;

    XToolServer& Server() const { return *m_server; }
    /// The server's own config factory, and the cache's.
    ILXConfigFactory& Direct() const { return *m_direct; }
    ILXConfigFactory& Cached() const { return *m_factory; }
    ILXConfigFactoryCache& Cache() const { return *m_cache; }

    /// The memory that filling the cache took, in KiB.
    std::size_t MemoryOfTheCache() const { return m_memory; }

    /// Whether the cache is notified of changes.
    bool HasNotifications() const { return m_hasNotifications; }
    /// Raises if the server is not the sample server, which an option requires.
    void NeedSample(const char* option) const;

    /// The cached type with this name. Raises if there is none.
    XLXComPtr<ILXType> Type(const std::string& name) const;
    /// The browser ids, in the server's order.
    std::vector<std::string> Browsers() const;
    /// Raises if there is no browser with this name, ignoring case; "" means any browser.
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

/// The server for a name: that of a library or a model file if the name looks like a file, otherwise a registered
/// server.
std::unique_ptr<XToolServer> LXServerNamed(const std::string& name);

/// The model that is shipped with the program: beside it, in the installation, or in the source tree.
std::string LXShippedModel();

#endif

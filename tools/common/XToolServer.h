// SPDX-License-Identifier: MIT
//
// The configuration server that a program uses: the sample server in this process, one in a shared library, or any that
// COM finds by a ProgID or class id.
//
// Ownership  The caller owns what the methods return. The sample server in this process ends with this object; a
//            registered one keeps running. A library stays loaded.
// Threading  Thread-safe; each thread must have initialised COM.
// Errors     XToolFailure, with the server's reason if it gave one.
#ifndef XTOOLSERVER_H
#define XTOOLSERVER_H

#include "XSampleServer.h"

class XToolServer {
public:
    XToolServer() = default;
    XToolServer(const XToolServer&) = delete;
    XToolServer& operator=(const XToolServer&) = delete;
    virtual ~XToolServer() = default;

    /// The services that a cache is initialised with. Query and notifications may be null when the server does not have
    /// them. The sample server creates a new query object each time.
    virtual XLXComPtr<ILXConfigFactory> ConfigFactory() = 0;
    virtual XLXComPtr<ILX_Query> Query() = 0;
    virtual XLXComPtr<ILXDataUpdate> DataUpdate() = 0;
    /// Whether the server runs in this process, and is called without proxies.
    virtual bool IsLocal() const = 0;
    /// Whether LiveObjects is supported.
    virtual bool CountsObjects() const { return true; }
    /// The server's live objects and the references to them; no references when it counts only the objects.
    virtual XServerObjectCount LiveObjects() = 0;
    /// Whether EditItself is supported.
    virtual bool EditsItself() const { return false; }
    /// Makes the server change its configuration visibly.
    /// @param number  a different one each time
    virtual void EditItself(LONG /*number*/) {}

    /// Whether this is the sample server. Other servers raise XToolFailure from all methods below.
    virtual bool IsSample() const { return true; }
    /// A new data object of a type, which need not exist on the server.
    virtual XLXComPtr<ILX_BaseDataObject> DataObject(const std::string& typeName) = 0;
    /// The data object with this id; null when there is none.
    virtual XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string& id) = 0;
    /// The number of calls by all clients since the server started, by "Interface::Method".
    virtual XCallCounts CallCounts() = 0;
    /// The minimum duration of a call, to simulate a slow network.
    virtual void SetDelay(std::chrono::microseconds delay) = 0;
    /// Applies one edit, given as JSON:
    ///     {"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":4,"value":"Flow"}
    /// When it returns, the clients have been notified; a slow client may still be handling the notification.
    virtual XNotification Edit(const std::string& json) = 0;
};

/// A sample server in this process.
std::unique_ptr<XToolServer> LXLocalToolServer(XServerModel model);

/// The server registered under a ProgID or a class id ("{...}"), activated in its own process or in this one. It needs
/// only ILXConfigFactory.
std::unique_ptr<XToolServer> LXRegisteredToolServer(const std::string& name);

/// The server of a shared library, in this process. It needs only ILXConfigFactory.
std::unique_ptr<XToolServer> LXLibraryToolServer(const std::string& file);
/// Whether a name is a shared library's, by its form.
bool LXIsServerLibrary(const std::string& name);

#endif

// SPDX-License-Identifier: MIT
//
// What the programs use of a configuration server, wherever it runs: the sample server in this process, or any server
// that COM finds by a ProgID or a class id.
//
// Ownership  What it hands out belongs to the caller. A local server ends with the object, a registered one lives on.
// Threading  Everything may be called from any thread that has initialised COM.
// Errors     XToolFailure, with the server's reason where it gave one.
#ifndef XTOOLSERVER_H
#define XTOOLSERVER_H

#include "XSampleServer.h"

class XToolServer {
public:
    XToolServer() = default;
    XToolServer(const XToolServer&) = delete;
    XToolServer& operator=(const XToolServer&) = delete;
    virtual ~XToolServer() = default;

    /// The three services that a cache is initialised with. Query and notifications may be null, where the server does
    /// not have them. The query object of the sample server is a new one each time.
    virtual XLXComPtr<ILXConfigFactory> ConfigFactory() = 0;
    virtual XLXComPtr<ILX_Query> Query() = 0;
    virtual XLXComPtr<ILXDataUpdate> DataUpdate() = 0;
    /// Whether the server runs in this process.
    virtual bool IsLocal() const = 0;

    /// Whether it is the sample server. The others can do nothing of what follows: they raise XToolFailure.
    virtual bool IsSample() const { return true; }
    /// A new data object of a type, which the server need not have.
    virtual XLXComPtr<ILX_BaseDataObject> DataObject(const std::string& typeName) = 0;
    /// A data object of the server by its id; null when there is none.
    virtual XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string& id) = 0;
    /// Calls of all clients since the server started, by "Interface::Method".
    virtual XCallCounts CallCounts() = 0;
    /// Every call takes at least that long, as over a slow network.
    virtual void SetDelay(std::chrono::microseconds delay) = 0;
    /// One edit as JSON text, such as
    /// {"edit":"SetAttributeProperty","type":"Pump","name":"RatedFlow","index":4,"value":"Flow"} The clients have
    /// been notified when it returns; a slow one may still be at it.
    virtual XNotification Edit(const std::string& json) = 0;
    /// The server's live objects and the references to them.
    virtual XServerObjectCount LiveObjects() = 0;
};

/// A sample server in this process.
std::unique_ptr<XToolServer> LXLocalToolServer(XServerModel model);

/// The server that is registered under a ProgID or a class id ("{...}"), activated in its own process or in this one.
/// It needs no more than ILXConfigFactory.
std::unique_ptr<XToolServer> LXRegisteredToolServer(const std::string& name);

#endif

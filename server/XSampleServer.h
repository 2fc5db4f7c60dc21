// SPDX-License-Identifier: MIT
//
// The sample configuration server: everything that the configuration cache requires of a server, over a model that is
// read from a file, generated, or built in code.
//
//     const auto server = XSampleServer::Create(LXSmallModel());
//     cache->Initialize(server->ConfigFactory().Get(), server->Query().Get(), server->DataUpdate().Get());
//     server->Edit().SetAttributeProperty("Pump", "Power", XProperty::Label, "Power (kW)");
//     EXPECT_EQ(server->Calls().Of("ILXType::GetTypeComponentData"), 1u);
//
// Ownership  The server owns its model; an object keeps the parts of the model alive that it needs. The server holds a
//            reference to each registered callback until the callback is unregistered or the server is destroyed. It
//            holds no references to the objects that it returns.
// Threading  Thread-safe, including its objects, except that a query object is for one thread at a time. No lock is
//            held while a client's callback or a test's hook is called.
// Errors     Interface methods return HRESULTs; all others raise C++ exceptions.
#ifndef XSAMPLESERVER_H
#define XSAMPLESERVER_H

#include "XCallMonitor.h"
#include "XServerEdits.h"

/// A notification that a client's cache passed on to the config factory.
struct XForwardedNotification {
    XLXText dataId;
    XLXText dataType;
    ULONG type = 0;
    ULONG id = 0;
};

/// A client that has registered its callback.
using XRegisteredClient = lx::ClientFacts;

/// The number of the server's live objects, and of the references to them.
struct XServerObjectCount {
    LONG objects = 0;
    LONG references = 0;
};

class XSampleServer {
public:
    static std::shared_ptr<XSampleServer> Create(XServerModel model);
    /// Releases the callbacks; no more notifications are sent. Objects that clients hold still work.
    ~XSampleServer();
    XSampleServer(const XSampleServer&) = delete;
    XSampleServer& operator=(const XSampleServer&) = delete;

    // ---- services for clients. While the config factory or the data update service is referenced, each call returns
    // the same object. Each query object is a new one.
    XLXComPtr<ILXConfigFactory> ConfigFactory() const;
    XLXComPtr<ILX_Query> Query() const;
    XLXComPtr<ILXDataUpdate> DataUpdate() const;
    /// A new data object of a type, which the model need not have.
    XLXComPtr<ILX_BaseDataObject> DataObject(const XText& typeName) const;
    /// A data object of the model by its id; null if there is none.
    XLXComPtr<ILX_BaseDataObject> StoredObject(const XText& id) const;

    // ---- for tests
    XCallMonitor& Calls() const;
    XServerEdits Edit() const;
    /// A copy of the current model.
    XServerModel Model() const;
    XServerObjectCount LiveObjects() const;
    /// The number of live objects of all servers in the process, for the test runner's check at the end.
    static long LiveObjectsOfAllServers();

    // ---- notifications
    /// Sends a notification unchanged to every client that subscribed to its data type. The id 0 means the next one.
    XNotification SendNotification(const XText& dataId, const XText& dataType = "cfc_specific", ULONG id = 0,
                                   XNotify notify = XNotify::Here);
    /// The id that was used last. Ids are consecutive from 1.
    ULONG LastNotificationId() const;
    /// Waits until the clients' threads have sent all notifications; raises std::runtime_error after the limit.
    void FlushNotifications(std::chrono::milliseconds limit = std::chrono::seconds(20));
    std::vector<XRegisteredClient> Clients() const;
    /// For clients in other processes: each client that registers from now on is called on its own thread, so that a
    /// slow one does not delay the others. A sender waits at most this long for the answers, and not at all for a
    /// client that is busy or was slow the last time.
    void CallEachClientOnItsOwnThread(std::chrono::milliseconds wait);
    /// Drops clients whose processes are gone. Notifications do that, too.
    void CheckClients();
    /// Calls ILXCallback::ServerIsTerminating of every client.
    void AnnounceTermination();
    /// The number of calls of the config factory's NotifyServerTermination.
    int TerminationsNotified() const;

    /// Makes the config factory support ILXCallbackUpdate, like one that is itself a cache.
    void AcceptForwardedNotifications(bool accept);
    /// Whether records of types and their components carry their objects (the default). Otherwise clients ask for an
    /// object when they need it. Each interface pointer in an array costs a client in another process some tenths of a
    /// millisecond. Arrays without objects are built once for each state of the model.
    void DeliverComponentObjects(bool deliver);
    /// Makes the config factory refuse ILXConfigFactoryEx, like one without bulk reads.
    void RefuseBulkReads(bool refuse);
    std::vector<XForwardedNotification> ForwardedNotifications() const;

private:
    explicit XSampleServer(std::shared_ptr<XServerCore> core) noexcept : m_core(std::move(core)) {}

    std::shared_ptr<XServerCore> m_core;
};

#endif

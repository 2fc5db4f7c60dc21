// SPDX-License-Identifier: MIT
//
// The sample configuration server: everything that the configuration cache asks of a server, over a model that tests,
// benchmarks and tools read from a file, generate or build by hand.
//
//     const auto server = XSampleServer::Create(LXSmallModel());
//     cache->Initialize(server->ConfigFactory().Get(), server->Query().Get(), server->DataUpdate().Get());
//     server->Edit().SetAttributeProperty("Pump", "Power", XProperty::Label, "Power (kW)");
//     EXPECT_EQ(server->Calls().Of("ILXType::GetTypeComponentData"), 1u);
//
// Ownership  The server owns its model; its objects keep what they need of it alive. The server keeps a reference to
//            each registered callback until that is unregistered or the server is destroyed. It holds no reference to
//            any object of its own that it handed out.
// Threading  Everything may be called from any thread, its objects too, except that one query object is for one
//            thread at a time. No lock is held while a client's callback or a test's hook is called.
// Errors     Interface methods answer HRESULTs, all others raise C++ exceptions.
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

/// Objects of the server that are alive, and references to them that were not given back.
struct XServerObjectCount {
    LONG objects = 0;
    LONG references = 0;
};

class XSampleServer {
public:
    static std::shared_ptr<XSampleServer> Create(XServerModel model);
    /// Ends as a server does: callbacks are released, no notification comes any more. Objects handed out still
    /// answer.
    ~XSampleServer();
    XSampleServer(const XSampleServer&) = delete;
    XSampleServer& operator=(const XSampleServer&) = delete;

    // ---- what a client is given. The config factory and the data update service are the same objects each
    // time, as long as somebody holds them; each query object is a new one.
    XLXComPtr<ILXConfigFactory> ConfigFactory() const;
    XLXComPtr<ILX_Query> Query() const;
    XLXComPtr<ILXDataUpdate> DataUpdate() const;
    /// A new data object of a type, which the model need not have.
    XLXComPtr<ILX_BaseDataObject> DataObject(const XText& typeName) const;
    /// A data object of the model by its id; null when there is none.
    XLXComPtr<ILX_BaseDataObject> StoredObject(const XText& id) const;

    // ---- what a test asks of it
    XCallMonitor& Calls() const;
    XServerEdits Edit() const;
    /// A copy of the model as it is now.
    XServerModel Model() const;
    XServerObjectCount LiveObjects() const;
    /// Over all servers of the process, for a check at its end; of the type that the test runner asks for.
    static long LiveObjectsOfAllServers();

    // ---- notifications
    /// Sends a notification as it stands to every client that asked for that data type. The id 0 takes the next one.
    XNotification SendNotification(const XText& dataId, const XText& dataType = "cfc_specific", ULONG id = 0,
                                   XNotify notify = XNotify::Here);
    /// The id that was used last; they rise from 1.
    ULONG LastNotificationId() const;
    /// Waits until the clients' threads have sent everything; raises std::runtime_error after the limit.
    void FlushNotifications(std::chrono::milliseconds limit = std::chrono::seconds(20));
    std::vector<XRegisteredClient> Clients() const;
    /// For clients in other processes: each that registers from now on is called on a thread of its own, so that a
    /// slow one holds up nobody else. Who sends a notification waits for the answers no longer than that, and not at
    /// all for a client that was busy already or slow the last time.
    void CallEachClientOnItsOwnThread(std::chrono::milliseconds wait);
    /// Forgets the clients whose processes are gone, which a notification does too.
    void CheckClients();
    /// Tells every client that the server is about to end (ILXCallback::ServerIsTerminating).
    void AnnounceTermination();
    /// How often the config factory was told NotifyServerTermination.
    int TerminationsNotified() const;

    /// Makes the config factory answer ILXCallbackUpdate, as one that is itself a cache does.
    void AcceptForwardedNotifications(bool accept);
    /// Whether records of types and their components come with their objects, as they do at first. Without, a client
    /// asks for an object when it needs one: each interface pointer in an array costs a client in another process some
    /// tenths of a millisecond. The arrays without are built once for a state of the model.
    void DeliverComponentObjects(bool deliver);
    /// Makes the config factory refuse ILXConfigFactoryEx, as one without bulk reads does.
    void RefuseBulkReads(bool refuse);
    std::vector<XForwardedNotification> ForwardedNotifications() const;

private:
    explicit XSampleServer(std::shared_ptr<XServerCore> core) noexcept : m_core(std::move(core)) {}

    std::shared_ptr<XServerCore> m_core;
};

#endif

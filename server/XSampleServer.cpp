// SPDX-License-Identifier: MIT
#include "XSampleServer.h"

#include "XServerConfigFactory.h"
#include "XServerData.h"

std::atomic<LONG> XServerCore::liveObjectsOfAll{0};

std::shared_ptr<XSampleServer> XSampleServer::Create(XServerModel model) {
    return std::shared_ptr<XSampleServer>(new XSampleServer(std::make_shared<XServerCore>(std::move(model))));
}

XSampleServer::~XSampleServer() { m_core->Notifier().Shutdown(); }

XLXComPtr<ILXConfigFactory> XSampleServer::ConfigFactory() const {
    return m_core->ObjectFor<XServerConfigFactory>(&m_core->factoryKey,
                                                   [this] { return LXMake<XServerConfigFactory>(m_core); });
}

XLXComPtr<ILX_Query> XSampleServer::Query() const { return LXMake<XServerQuery>(m_core); }

XLXComPtr<ILXDataUpdate> XSampleServer::DataUpdate() const {
    return m_core->ObjectFor<XServerDataUpdate>(&m_core->dataUpdateKey,
                                                [this] { return LXMake<XServerDataUpdate>(m_core); });
}

XLXComPtr<ILX_BaseDataObject> XSampleServer::DataObject(const XText& typeName) const {
    auto object = std::make_shared<XModelDataObject>();
    object->typeName = typeName;
    return XServerDataObject::For(m_core, std::move(object));
}

XLXComPtr<ILX_BaseDataObject> XSampleServer::StoredObject(const XText& id) const {
    return XServerDataObject::Find(m_core, id.Get());
}

XCallMonitor& XSampleServer::Calls() const { return m_core->Monitor(); }

XServerEdits XSampleServer::Edit() const { return XServerEdits(m_core); }

XServerModel XSampleServer::Model() const {
    return m_core->Read([](const XServerModel& model) { return model; });
}

XServerObjectCount XSampleServer::LiveObjects() const { return {m_core->liveObjects, m_core->references}; }

long XSampleServer::LiveObjectsOfAllServers() { return XServerCore::liveObjectsOfAll; }

XNotification XSampleServer::SendNotification(const XText& dataId, const XText& dataType, ULONG id, XNotify notify) {
    return m_core->Notifier().Send(dataId, dataType, id, notify);
}

ULONG XSampleServer::LastNotificationId() const { return m_core->Notifier().LastId(); }

void XSampleServer::FlushNotifications(std::chrono::milliseconds limit) { m_core->Notifier().Flush(limit); }

std::vector<XRegisteredClient> XSampleServer::Clients() const { return m_core->Notifier().ListClients(); }

void XSampleServer::CallEachClientOnItsOwnThread(std::chrono::milliseconds wait) {
    m_core->Notifier().CallEachClientOnItsOwnThread(wait);
}

void XSampleServer::CheckClients() { m_core->Notifier().CheckClients(); }

void XSampleServer::AnnounceTermination() { m_core->Notifier().AnnounceTermination(); }

int XSampleServer::TerminationsNotified() const { return m_core->terminations; }

void XSampleServer::AcceptForwardedNotifications(bool accept) { m_core->acceptsForwarded = accept; }

void XSampleServer::DeliverComponentObjects(bool deliver) { m_core->deliversComponentObjects = deliver; }

void XSampleServer::RefuseBulkReads(bool refuse) { m_core->refusesBulkReads = refuse; }

std::vector<XForwardedNotification> XSampleServer::ForwardedNotifications() const {
    return m_core->Notifier().ForwardedNotifications();
}

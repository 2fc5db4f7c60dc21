// SPDX-License-Identifier: MIT
//
// The sample server in another process, used through its control interface. Every call crosses the process boundary.
#include "XRegisteredSample.h"
#include "LXSampleServer.h"
#include "XServerTexts.h"
#include "XToolCom.h"

namespace {
class RegisteredSample final : public XToolServer {
public:
    explicit RegisteredSample(XLXComPtr<ILXSampleServer> server) noexcept : m_server(std::move(server)) {}

    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return AllServices().factory; }
    XLXComPtr<ILX_Query> Query() override { return AllServices().query; }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return AllServices().update; }
    XLXComPtr<ILX_BaseDataObject> DataObject(const std::string& typeName) override {
        XLXComPtr<ILX_BaseDataObject> object;
        LXExpect(m_server->GetDataObject(LXBstr(typeName).Get(), object.Put()), "ILXSampleServer::GetDataObject");
        return object;
    }
    XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string& id) override {
        XLXComPtr<ILX_BaseDataObject> object;
        const HRESULT result = m_server->GetStoredObject(LXBstr(id).Get(), object.Put());
        LXExpect(result, "ILXSampleServer::GetStoredObject", result == S_FALSE ? S_FALSE : S_OK);
        return object;
    }

    XCallCounts CallCounts() override {
        XLXComBSTR counts;
        LXExpect(m_server->GetCallCounts(counts.Put()), "ILXSampleServer::GetCallCounts");
        return LXParseCounts(LXToUtf8(counts.View()));
    }
    void SetDelay(std::chrono::microseconds delay) override {
        LXExpect(m_server->SetDelay(static_cast<ULONG>(delay.count())), "ILXSampleServer::SetDelay");
    }
    XNotification Edit(const std::string& json) override {
        XLXComBSTR outcome;
        const HRESULT result = m_server->Edit(LXBstr(json).Get(), outcome.Put());
        if (result != E_INVALIDARG || outcome.View().empty()) { LXExpect(result, "ILXSampleServer::Edit"); }
        try {
            return LXParseNotification(LXToUtf8(outcome.View()));
        } catch (const std::invalid_argument& refusal) { throw XToolFailure(refusal.what()); }
    }
    XServerObjectCount LiveObjects() override {
        XLXComBSTR status;
        LXExpect(m_server->GetStatus(status.Put()), "ILXSampleServer::GetStatus");
        return LXParseStatus(LXToUtf8(status.View())).live;
    }
    bool IsLocal() const override { return false; }

private:
    struct Services {
        XLXComPtr<ILXConfigFactory> factory;
        XLXComPtr<ILX_Query> query;
        XLXComPtr<ILXDataUpdate> update;
    };

    /// Not cached: the server's reference counts must show only what its clients hold.
    Services AllServices() const {
        Services services;
        LXExpect(m_server->GetServices(services.factory.Put(), services.query.Put(), services.update.Put()),
                 "ILXSampleServer::GetServices");
        return services;
    }

    XLXComPtr<ILXSampleServer> m_server;
};
} // namespace

std::unique_ptr<XToolServer> LXRegisteredSample(IUnknown& server) {
    XLXComPtr<ILXSampleServer> control;
    if (FAILED(server.QueryInterface(LXIid<ILXSampleServer>(), control.PutVoid()))) { return nullptr; }
    return std::make_unique<RegisteredSample>(std::move(control));
}

// SPDX-License-Identifier: MIT
#include "XToolServer.h"

#include "XServerTexts.h"
#include "XToolCom.h"

namespace {
class LocalServer final : public XToolServer {
public:
    explicit LocalServer(XServerModel model) : m_server(XSampleServer::Create(std::move(model))) {}

    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_server->ConfigFactory(); }
    XLXComPtr<ILX_Query> Query() override { return m_server->Query(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_server->DataUpdate(); }
    XLXComPtr<ILX_BaseDataObject> DataObject(const std::string& typeName) override {
        return m_server->DataObject(typeName);
    }
    XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string& id) override { return m_server->StoredObject(id); }

    XCallCounts CallCounts() override { return m_server->Calls().Counts(); }
    void SetDelay(std::chrono::microseconds delay) override { m_server->Calls().SetDelay(delay); }
    XNotification Edit(const std::string& json) override {
        try {
            return LXApplyEdit(m_server->Edit(), json);
        } catch (const std::logic_error& error) // std::invalid_argument and std::out_of_range
        {
            throw XToolFailure(error.what());
        }
    }
    XServerObjectCount LiveObjects() override { return m_server->LiveObjects(); }
    bool IsLocal() const override { return true; }

private:
    std::shared_ptr<XSampleServer> m_server;
};
} // namespace

std::unique_ptr<XToolServer> LXLocalToolServer(XServerModel model) {
    return std::make_unique<LocalServer>(std::move(model));
}

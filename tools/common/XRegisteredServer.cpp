// SPDX-License-Identifier: MIT
//
// Any server that COM can activate.
#ifdef _WIN32
#include "XRegisteredSample.h"
#endif
#include "XToolCom.h"
#include "XToolServer.h"

#include <objbase.h>

namespace {
class RegisteredServer final : public XToolServer {
public:
    RegisteredServer(std::string name, XLXComPtr<ILXConfigFactory> factory)
        : m_name(std::move(name)), m_factory(std::move(factory)) {}

    XLXComPtr<ILXConfigFactory> ConfigFactory() override { return m_factory; }
    XLXComPtr<ILX_Query> Query() override { return m_factory.As<ILX_Query>(); }
    XLXComPtr<ILXDataUpdate> DataUpdate() override { return m_factory.As<ILXDataUpdate>(); }
    bool IsLocal() const override { return false; }
    bool IsSample() const override { return false; }

    XLXComPtr<ILX_BaseDataObject> DataObject(const std::string&) override { Refuse("data objects are made"); }
    XLXComPtr<ILX_BaseDataObject> StoredObject(const std::string&) override { Refuse("data objects are found"); }
    XCallCounts CallCounts() override { Refuse("calls are counted"); }
    void SetDelay(std::chrono::microseconds) override { Refuse("calls can be delayed"); }
    XNotification Edit(const std::string&) override { Refuse("edits are made"); }
    XServerObjectCount LiveObjects() override { Refuse("live objects are counted"); }

private:
    [[noreturn]] void Refuse(const char* what) const {
        throw XToolFailure(m_name + " is not the sample server: only by that " + what);
    }

    std::string m_name;
    XLXComPtr<ILXConfigFactory> m_factory;
};

CLSID ClassOf(const std::string& name) {
    CLSID clsid = {};
    const HRESULT known = name.starts_with('{') ? CLSIDFromString(LXBstr(name).Get(), &clsid)
                                                : CLSIDFromProgID(LXBstr(name).Get(), &clsid);
    LXExpectThat(SUCCEEDED(known), "there is no server registered as " + name + " (" + LXResultName(known) + ")");
    return clsid;
}
} // namespace

std::unique_ptr<XToolServer> LXRegisteredToolServer(const std::string& name) {
    XLXComPtr<IUnknown> server;
    LXExpect(CoCreateInstance(ClassOf(name), nullptr, CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER, IID_IUnknown,
                              server.PutVoid()),
             ("starting " + name).c_str());
#ifdef _WIN32
    if (auto sample = LXRegisteredSample(*server)) { return sample; }
#endif
    auto factory = server.As<ILXConfigFactory>();
    LXExpectThat(static_cast<bool>(factory),
                 name + " has no ILXConfigFactory, or the proxies for it are not registered (LXConfigFactoryCachePS)");
    return std::make_unique<RegisteredServer>(name, std::move(factory));
}

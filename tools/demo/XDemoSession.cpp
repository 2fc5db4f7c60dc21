// SPDX-License-Identifier: MIT
#include "XDemoSession.h"

#include <thread>

namespace {
constexpr std::chrono::seconds LimitOfReleases{30}; // another process receives them a little later
} // namespace

XDemoSession::XDemoSession(const XToolComponent& component, std::unique_ptr<XToolServer> server)
    : m_server(std::move(server)), m_before(m_server->LiveObjects()), m_cache(component.Activate()) {}

XMeasured XDemoSession::StartAsClient(LONG transferMode, bool separateCallback) {
    XLXVariantVector values;
    values.push_back(XLXComVariant::FromUnknown(m_server->ConfigFactory().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->Query().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->DataUpdate().Get()));
    values.push_back(XLXComVariant::FromBool(false)); // true would turn notifications off
    values.push_back(XLXComVariant::FromBool(separateCallback));
    values.push_back(XLXComVariant::FromI4(transferMode));
    return Measure([&] {
        LXExpect(m_cache.As<IDPFObject>()->Initialize(static_cast<ULONG>(values.size()), &values[0].Get()),
                 "IDPFObject::Initialize");
    });
}

XMeasured XDemoSession::StartInServer() {
    const auto factory = m_server->ConfigFactory();
    const auto query = m_server->Query();
    const auto update = m_server->DataUpdate();
    return Measure([&] {
        LXExpect(m_cache->Initialize(factory.Get(), query.Get(), update.Get()), "ILXConfigFactoryCache::Initialize");
    });
}

XNotification XDemoSession::Edit(const std::string& json, std::string backwards) {
    const XNotification sent = m_server->Edit(json);
    m_backwards.push_back(std::move(backwards));
    return sent;
}

void XDemoSession::Finish() {
    for (; !m_backwards.empty(); m_backwards.pop_back()) {
        m_server->Edit(m_backwards.back());
    }
    LXExpect(m_cache.As<IDPFObject>()->Terminate(), "IDPFObject::Terminate");
    m_cache.Reset();
    const auto kept = [this] {
        const XServerObjectCount left = m_server->LiveObjects();
        return XServerObjectCount{left.objects - m_before.objects, left.references - m_before.references};
    };
    XServerObjectCount left = kept();
    const auto until = std::chrono::steady_clock::now() + LimitOfReleases;
    while (!m_server->IsLocal() && left.references > 0 && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        left = kept();
    }
    LXExpectThat(left.objects <= 0 && left.references <= 0, "the cache kept " + std::to_string(left.references) +
                                                                " references to " + std::to_string(left.objects) +
                                                                " objects of the server");
}

XLXComPtr<ILXType> XDemoSession::CachedType(const char* name) const {
    XLXComPtr<ILXType> type;
    LXExpect(m_cache->GetCachedType(m_server->DataObject(name).Get(), nullptr, type.Put()), "GetCachedType");
    return type;
}

void LXPrintCalls(XToolOutput& output, const XMeasured& measured) {
    XToolTable table({"Server call", ">Calls"});
    for (const auto& [name, calls] : measured.calls.byName) {
        table.Row({name, std::to_string(calls)});
    }
    table.Rule();
    table.Row({"in " + LXOneDecimal(measured.milliseconds) + " ms", std::to_string(measured.calls.Total())});
    output.Table(table);
}

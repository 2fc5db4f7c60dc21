// SPDX-License-Identifier: MIT
#include "XDemoSession.h"

namespace
{
constexpr LONG EverythingInBulk = 15; // attributes 1, groups 2, pages 4, editors 8
} // namespace

XDemoSession::XDemoSession(const XToolComponent& component, XServerModel model)
    : m_server(XSampleServer::Create(std::move(model))), m_cache(component.Activate())
{}

XMeasured XDemoSession::StartAsClient()
{
    XLXVariantVector values;
    values.push_back(XLXComVariant::FromUnknown(m_server->ConfigFactory().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->Query().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->DataUpdate().Get()));
    values.push_back(XLXComVariant::FromBool(false)); // no notifications: no, they are wanted
    values.push_back(XLXComVariant::FromBool(false)); // separate callback object
    values.push_back(XLXComVariant::FromI4(EverythingInBulk));
    return Measure([&] {
        LXExpect(m_cache.As<IDPFObject>()->Initialize(static_cast<ULONG>(values.size()), &values[0].Get()),
                 "IDPFObject::Initialize");
    });
}

XMeasured XDemoSession::StartInServer()
{
    const auto factory = m_server->ConfigFactory();
    const auto query = m_server->Query();
    const auto update = m_server->DataUpdate();
    return Measure([&] {
        LXExpect(m_cache->Initialize(factory.Get(), query.Get(), update.Get()),
                 "ILXConfigFactoryCache::Initialize");
    });
}

void XDemoSession::Finish()
{
    LXExpect(m_cache.As<IDPFObject>()->Terminate(), "IDPFObject::Terminate");
    m_cache.Reset();
    const XServerObjectCount left = m_server->LiveObjects();
    LXExpectThat(left.objects == 0 && left.references == 0,
                 "the cache kept " + std::to_string(left.references) + " references to " +
                     std::to_string(left.objects) + " objects of the server");
}

XLXComPtr<ILXType> XDemoSession::CachedType(const char* name) const
{
    XLXComPtr<ILXType> type;
    LXExpect(m_cache->GetCachedType(m_server->DataObject(name).Get(), nullptr, type.Put()), "GetCachedType");
    return type;
}

void LXPrintCalls(XToolOutput& output, const XMeasured& measured)
{
    XToolTable table({"Server call", ">Calls"});
    for (const auto& [name, calls] : measured.calls.byName)
    {
        table.Row({name, std::to_string(calls)});
    }
    table.Rule();
    table.Row({"in " + LXOneDecimal(measured.milliseconds) + " ms", std::to_string(measured.calls.Total())});
    output.Table(table);
}

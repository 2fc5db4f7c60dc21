// SPDX-License-Identifier: MIT
#include "XBrowserRegistry.h"

#include "lxconfigfactorycachemanager.h"
#include "lxtransientpcinfo.h"

namespace
{
constexpr ULONG BrowserIdBatch = 100;
constexpr int MemberBrowserId = 0;

template <class Interface, class MapPtr>
std::vector<XLXComPtr<Interface>> ListOf(const MapPtr& map)
{
    std::vector<XLXComPtr<Interface>> objects;
    if (map)
    {
        for (const auto& [key, object] : *map)
        {
            objects.emplace_back(object);
        }
    }
    return objects;
}

template <class MapPtr>
void TerminateAll(const MapPtr& map)
{
    if (map)
    {
        for (const auto& [key, object] : *map)
        {
            object->Terminate();
        }
    }
}
} // namespace

void XBrowserRegistry::Begin(const XClockPtr& clock)
{
    m_mapBrowserid.Begin({clock, std::nullopt});
    m_mapPCinfo.Begin({clock, std::nullopt});
    m_mapPCinfoNew.Begin({clock, std::nullopt});
}

// ---- browser ids

std::vector<XLXComPtr<ILXBrowserId>> XBrowserRegistry::BrowserIds()
{
    return ListOf<ILXBrowserId>(LoadBrowserIds());
}

/// Null: the thread is reading them already.
XBrowserRegistry::BrowserIdMapPtr XBrowserRegistry::LoadBrowserIds()
{
    if (BrowserIdMapPtr fresh = m_mapBrowserid.Fresh())
    {
        return fresh;
    }
    const XServerAccess server = m_manager.Access("InternalFillBrowserIds");
    return m_mapBrowserid.Load({server.clock, std::nullopt},
                               [&] { return std::make_shared<const BrowserIdMap>(FetchBrowserIds(server)); });
}

XBrowserRegistry::BrowserIdMap XBrowserRegistry::FetchBrowserIds(const XServerAccess& server) const
{
    const LXErrorLocation at = LXManagerAt("InternalFillBrowserIds");
    BrowserIdMap fresh;
    XLXComPtr<ILXBrowserIdEnum> browserIds;
    HRESULT result =
        LXAsk("ILXConfigFactory::GetBrowserIdEnum", browserIds, LXNoResult::PointerError, OLESTR("browser ids"), at,
              [&](ILXBrowserIdEnum** out) { return server.configFactory->GetBrowserIdEnum(out); });
    if (result == S_OK)
    {
        result = LXForEachOf<BrowserIdBatch, ILXBrowserId>(
            *browserIds, "ILXBrowserIdEnum::RemNext", at, [&](XLXComPtr<ILXBrowserId>&& element) {
                auto browserId = LXCFCTOOLS::Make<XLXBrowserIdCache>(std::move(element), server.clock, at);
                XLXComVariant name;
                XLXError::RaiseIfFailed(browserId->GetProperty(MemberBrowserId, name.Put()),
                                        OLESTR("the name of a browser id cannot be read"), at);
                if (auto key = XCFGStringKey::Of(name)) // without a name there is no key to find it by
                {
                    fresh.insert_or_assign(std::move(*key), std::move(browserId));
                }
            });
    }
    XLXError::RaiseIfFailed(result, OLESTR("the browser ids cannot be enumerated"), at);
    return fresh;
}

void XBrowserRegistry::TerminateBrowserIds(const XClockPtr& clock)
{
    TerminateAll(m_mapBrowserid.End({clock, std::nullopt}));
}

// ---- PC infos

std::vector<XLXComPtr<ILXPCInfo>> XBrowserRegistry::PCInfos(bool newRelations)
{
    return ListOf<ILXPCInfo>(LoadPCInfos(newRelations));
}

XLXComPtr<ILXPCInfo> XBrowserRegistry::PCInfo(XLXTextView browserId, bool newRelations)
{
    const PCInfoMapPtr map = LoadPCInfos(newRelations);
    if (!map)
    {
        return nullptr;
    }
    const auto found = map->find(XCFGStringKey(browserId));
    return found != map->end() ? XLXComPtr<ILXPCInfo>(found->second) : nullptr;
}

// Made once all browser ids are known: not while the thread is reading them.
XBrowserRegistry::PCInfoMapPtr XBrowserRegistry::LoadPCInfos(bool newRelations)
{
    if (PCInfoMapPtr fresh = Generation(newRelations).Fresh())
    {
        return fresh;
    }
    const BrowserIdMapPtr browserIds = LoadBrowserIds();
    if (!browserIds)
    {
        return nullptr;
    }
    const XServerAccess server = m_manager.Access("InternalFillPCInfos");
    return Generation(newRelations).Load({server.clock, std::nullopt}, [&] {
        return std::make_shared<const PCInfoMap>(MakePCInfos(*browserIds, newRelations));
    });
}

XBrowserRegistry::PCInfoMap XBrowserRegistry::MakePCInfos(const BrowserIdMap& browserIds, bool newRelations)
{
    const XMoment timeless = XMoment::Timeless();
    PCInfoMap infos;
    for (const auto& [key, browserId] : browserIds)
    {
        const auto info = LXCFCTOOLS::Make<XLXPCInfoCache>(nullptr, XClockPtr(), LXManagerAt("InternalFillPCInfos"));
        info->AssignProperties(XLXTransientPCInfo::Values(key.Text(), newRelations), timeless);
        infos.emplace(key, info);
    }
    return infos;
}

void XBrowserRegistry::TerminatePCInfos(const XClockPtr& clock, bool newRelations)
{
    TerminateAll(Generation(newRelations).End({clock, std::nullopt}));
}

// SPDX-License-Identifier: MIT
#include "XBrowserRegistry.h"

#include "lxconfigfactorycachemanager.h"
#include "lxtransientpcinfo.h"

namespace
{
constexpr ULONG BrowserIdBatch = 100;
constexpr int MemberBrowserId = 0;

/// Terminates the objects of a map and empties it, with no lock held for the former.
template <class Map>
void TerminateAndClear(XCritDataCFC<Map>& data)
{
    Map dropped;
    {
        const XCritProxy<Map> map(data);
        map->swap(dropped);
    }
    for (const auto& [key, object] : dropped)
    {
        object->Terminate();
    }
}

template <class Interface, class Map>
std::vector<XLXComPtr<Interface>> ListOf(const Map& map)
{
    std::vector<XLXComPtr<Interface>> objects;
    for (const auto& [key, object] : map)
    {
        objects.emplace_back(object);
    }
    return objects;
}

template <class Interface, class Map>
XLXComPtr<Interface> FindIn(const Map& map, XLXTextView name)
{
    const auto found = map.find(XCFGStringKey(name));
    return found != map.end() ? XLXComPtr<Interface>(found->second) : nullptr;
}
} // namespace

// ---- browser ids

XBrowserRegistry::BrowserIdMap XBrowserRegistry::HeldBrowserIds() const
{
    const XCritReadProxy<BrowserIdMap> map(m_mapBrowserid);
    return *map;
}

std::vector<XLXComPtr<ILXBrowserId>> XBrowserRegistry::BrowserIds()
{
    FillBrowserIds();
    return ListOf<ILXBrowserId>(HeldBrowserIds());
}

XLXComPtr<ILXBrowserId> XBrowserRegistry::BrowserId(XLXTextView name)
{
    FillBrowserIds();
    const XCritReadProxy<BrowserIdMap> map(m_mapBrowserid);
    return FindIn<ILXBrowserId>(*map, name);
}

void XBrowserRegistry::FillBrowserIds()
{
    if (m_browserIdsFilled.IsFilled())
    {
        return;
    }
    const XFillGuard fill(m_browserIdFill);
    if (fill.Reentered() || m_browserIdsFilled.IsFilled())
    {
        return;
    }
    const std::uint64_t noted = m_browserIdsFilled.Note();
    const std::uint64_t epoch = m_manager.NotificationEpoch().Note();
    BrowserIdMap fresh = FetchBrowserIds(); // takes the former ones with it when the lock is given back
    const XCritProxy<BrowserIdMap> map(m_mapBrowserid);
    map->swap(fresh);
    if (m_manager.NotificationEpoch().Note() == epoch)
    {
        m_browserIdsFilled.SetFilled(noted);
        return;
    }
    for (const auto& [name, browserId] : *map) // whoever walked the browser ids meanwhile did not meet these
    {
        browserId->InvalidateStore();
    }
}

// A browser id that is held already stays the same object.
XBrowserRegistry::BrowserIdMap XBrowserRegistry::FetchBrowserIds() const
{
    const LXErrorLocation at = LXManagerAt("InternalFillBrowserIds");
    const BrowserIdMap former = HeldBrowserIds();
    BrowserIdMap fresh;
    const auto factory = m_manager.ConfigFactory("InternalFillBrowserIds");
    XLXComPtr<ILXBrowserIdEnum> browserIds;
    LXServerCall("ILXConfigFactory::GetBrowserIdEnum");
    HRESULT result = factory->GetBrowserIdEnum(browserIds.Put());
    if (FAILED(result))
    {
        (void)browserIds.Detach();
    }
    else if (result == S_OK)
    {
        XLXError::CheckPointer(browserIds.Get(), OLESTR("browser ids"), at);
        result = LXForEachOf<BrowserIdBatch, ILXBrowserId>(
            *browserIds, "ILXBrowserIdEnum::RemNext", at, [&](XLXComPtr<ILXBrowserId>&& server) {
                auto browserId = LXCFCTOOLS::Make<XLXBrowserIdCache>(server, at);
                XLXComVariant name;
                XLXError::RaiseIfFailed(browserId->GetProperty(MemberBrowserId, name.Put()),
                                        OLESTR("the name of a browser id cannot be read"), at);
                auto key = XCFGStringKey::Of(name);
                if (!key) // without a name there is no key to find it by
                {
                    return;
                }
                if (const auto known = former.find(*key); known != former.end())
                {
                    browserId = known->second;
                    browserId->ReplaceServer(server);
                    browserId->InvalidateStore();
                }
                fresh.insert_or_assign(std::move(*key), std::move(browserId));
            });
    }
    XLXError::RaiseIfFailed(result, OLESTR("the browser ids cannot be enumerated"), at);
    return fresh;
}

// The receivers only clear flags, so they may be called under the lock.
HRESULT XBrowserRegistry::Notify(const XChangeNotification& notification) const
{
    const XCritReadProxy<BrowserIdMap> map(m_mapBrowserid);
    for (const auto& [name, browserId] : *map)
    {
        const HRESULT result = browserId->Notify(notification);
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

void XBrowserRegistry::TerminateBrowserIds()
{
    m_browserIdsFilled.Invalidate();
    TerminateAndClear(m_mapBrowserid);
}

// ---- PC infos

std::vector<XLXComPtr<ILXPCInfo>> XBrowserRegistry::PCInfos(bool newRelations)
{
    FillPCInfos();
    const XCritReadProxy<PCInfoMap> map(Generation(newRelations));
    return ListOf<ILXPCInfo>(*map);
}

XLXComPtr<ILXPCInfo> XBrowserRegistry::PCInfo(XLXTextView browserId, bool newRelations)
{
    FillPCInfos();
    const XCritReadProxy<PCInfoMap> map(Generation(newRelations));
    return FindIn<ILXPCInfo>(*map, browserId);
}

void XBrowserRegistry::FillPCInfos()
{
    FillBrowserIds(); // first: its fill mutex comes before the PC infos'
    if (m_pcInfosFilled.IsFilled())
    {
        return;
    }
    const XFillGuard fill(m_pcInfoFill);
    if (fill.Reentered() || m_pcInfosFilled.IsFilled())
    {
        return;
    }
    const std::uint64_t noted = m_pcInfosFilled.Note();
    const bool allBrowsersKnown = m_browserIdsFilled.IsFilled();
    const BrowserIdMap browserIds = HeldBrowserIds();
    PCInfoMap old = MakePCInfos(browserIds, false);
    PCInfoMap fresh = MakePCInfos(browserIds, true);
    const XCritProxy<PCInfoMap> oldMap(m_mapPCinfo);
    const XCritProxy<PCInfoMap> newMap(m_mapPCinfoNew);
    oldMap->swap(old);
    newMap->swap(fresh);
    if (allBrowsersKnown)
    {
        m_pcInfosFilled.SetFilled(noted);
    }
}

XBrowserRegistry::PCInfoMap XBrowserRegistry::MakePCInfos(const BrowserIdMap& browserIds, bool newRelations)
{
    PCInfoMap infos;
    for (const auto& [key, browserId] : browserIds)
    {
        const auto info = LXCFCTOOLS::Make<XLXPCInfoCache>(nullptr, LXManagerAt("InternalFillPCInfos"));
        info->AssignProperties(XLXTransientPCInfo::Values(key.Text(), newRelations), info->NoteStore());
        infos.emplace(key, info);
    }
    return infos;
}

void XBrowserRegistry::TerminatePCInfos(bool newRelations)
{
    m_pcInfosFilled.Invalidate();
    TerminateAndClear(Generation(newRelations));
}

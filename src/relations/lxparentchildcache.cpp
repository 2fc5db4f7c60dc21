// SPDX-License-Identifier: MIT
#include "lxparentchildcache.h"

#include "XLXEnumWithDelete.h"

namespace
{
constexpr int MemberPCInfoBrowser = 1;
constexpr ULONG PCInfoBatch = 31;
} // namespace

HRESULT XLXParentChildCache::GetPCInfoEnum(ILXPCInfoEnum** ppEnum)
{
    return XLXError::Guarded(TheFacts.At("GetPCInfoEnum"), [&] {
        XLXError::CheckPointer(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetPCInfoEnum", 368));
        *ppEnum = nullptr;
        LoadPCInfos();
        std::vector<XLXComPtr<ILXPCInfo>> items;
        for (const auto& info : Loaded())
        {
            items.emplace_back(info);
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXParentChildCache::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo)
{
    return XLXError::Guarded(TheFacts.At("GetPCInfo"), [&] {
        XLXError::CheckPointer(ppPCInfo, OLESTR("ppPCInfo"), TheFacts.At("GetPCInfo", 404));
        *ppPCInfo = FindPCInfo(LXBstrView(bstrBrowserId)).Detach();
        return *ppPCInfo != nullptr ? S_OK : S_FALSE;
    });
}

// The browser that a PC info shows is read from the PC info: it may have changed since the map was made. One
// that cannot be read ends the search.
XLXComPtr<XLXPCInfoCache> XLXParentChildCache::FindPCInfo(XLXTextView browserId)
{
    const XLXText wanted = LXLowerCase(browserId);
    LoadPCInfos();
    for (auto& info : Loaded())
    {
        const auto browser = info->TryRead(MemberPCInfoBrowser);
        const auto text = browser ? browser->AsText() : std::nullopt;
        if (!text)
        {
            break;
        }
        if (LXLowerCase(*text) == wanted)
        {
            return std::move(info);
        }
    }
    return nullptr;
}

bool XLXParentChildCache::HasPCInfos()
{
    LoadPCInfos();
    return !Loaded().empty();
}

std::vector<XLXComPtr<XLXPCInfoCache>> XLXParentChildCache::Loaded() const
{
    std::vector<XLXComPtr<XLXPCInfoCache>> infos;
    if (PCInfos* const part = m_pcInfos.Find(); part != nullptr)
    {
        const XCritReadProxy<PCInfoMap> map(part->map);
        infos.reserve(map->size());
        for (const auto& [browser, info] : *map)
        {
            infos.push_back(info);
        }
    }
    return infos;
}

void XLXParentChildCache::LoadPCInfos()
{
    if (m_pcInfosLoaded.IsFilled())
    {
        return;
    }
    PCInfos& part = m_pcInfos.Make();
    const XFillGuard fill(part.fill);
    if (fill.Reentered() || m_pcInfosLoaded.IsFilled())
    {
        return;
    }
    const std::uint64_t noted = m_pcInfosLoaded.Note();
    const std::uint64_t notified = m_notifications.load();
    PCInfoMap fresh = FetchPCInfos(); // takes the old ones with it when the lock is given back
    const XCritProxy<PCInfoMap> map(part.map);
    map->swap(fresh);
    if (m_notifications.load() != notified)
    {
        // Whoever walked the PC infos meanwhile did not meet these.
        for (const auto& [browser, info] : *map)
        {
            info->InvalidateStore();
        }
    }
    m_pcInfosLoaded.SetFilled(noted);
}

XLXParentChildCache::PCInfoMap XLXParentChildCache::FetchPCInfos()
{
    PCInfoMap fresh;
    XLXComPtr<ILXPCInfoEnum> infos;
    const HRESULT result = LXWithoutRaising([&] {
        const auto server = Server();
        LXServerCall("ILXParentChild::GetPCInfoEnum");
        return server->GetPCInfoEnum(infos.Put());
    });
    if (FAILED(result))
    {
        (void)infos.Detach();
        return fresh;
    }
    if (infos)
    {
        const LXErrorLocation at = TheFacts.At("LoadPCInfos");
        LXForEachOf<PCInfoBatch, ILXPCInfo>(
            *infos.Get(), "ILXPCInfoEnum::RemNext", at, [&](XLXComPtr<ILXPCInfo>&& element) {
                const auto info = LXCFCTOOLS::Make<XLXPCInfoCache>(std::move(element), at);
                const auto browser = info->TryRead(MemberPCInfoBrowser);
                auto key = browser ? XCFGStringKey::Of(*browser) : std::nullopt;
                if (key) // without its browser there is no key to find it by
                {
                    fresh.insert_or_assign(std::move(*key), info);
                }
            });
    }
    return fresh;
}

HRESULT XLXParentChildCache::OnNotification(const XChangeNotification& notification)
{
    const XDataId& id = notification.id;
    m_notifications.fetch_add(1);
    InvalidateStoreFor(id);
    const bool infosChanged = id.kind == LXDataIdKind::ParentChild ||
                              (id.kind == LXDataIdKind::Objects &&
                               LXModeConcerns(id.mode, LXUM_EVERYTHING | LXUM_PARENTCHILD | LXUM_BROWSERIDS));
    if (infosChanged)
    {
        m_pcInfosLoaded.Invalidate();
        XInvalidationLog::Add(TheFacts.className, "PC infos");
    }
    PCInfos* const part = m_pcInfos.Find();
    if (part == nullptr)
    {
        return S_OK;
    }
    // The receivers only clear flags, so they may be called under the lock.
    const XCritReadProxy<PCInfoMap> map(part->map);
    for (const auto& [browser, info] : *map)
    {
        const HRESULT result = info->Notify(notification);
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

HRESULT XLXParentChildCache::Terminate() noexcept
{
    m_pcInfosLoaded.Invalidate();
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapPCinfo failed"),
                         TheFacts.At("Terminate", 85), [&] {
                             if (PCInfos* const part = m_pcInfos.Find(); part != nullptr)
                             {
                                 PCInfoMap dropped;
                                 const XCritProxy<PCInfoMap> map(part->map);
                                 map->swap(dropped);
                             }
                         });
    return S_OK;
}

// SPDX-License-Identifier: MIT
#include "lxparentchildcache.h"

#include "XLXEnumWithDelete.h"

namespace {
constexpr int MemberPCInfoBrowser = 1;
constexpr ULONG PCInfoBatch = 31;
} // namespace

XLXParentChildCache::XLXParentChildCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock)),
      m_pcInfos(nullptr, XStamp{}, TimeOf(XAspect::PCInfos), true) {}

HRESULT XLXParentChildCache::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) {
    return XLXError::Guarded(TheFacts.At("GetPCInfoEnum"), [&] {
        LXCheckOut(ppEnum, OLESTR("ppEnum"), TheFacts.At("GetPCInfoEnum", 368));
        std::vector<XLXComPtr<ILXPCInfo>> items;
        const PCInfoMapPtr infos = LoadPCInfos();
        for (const auto& [browser, info] : *infos) {
            items.emplace_back(info);
        }
        return LXHandOutEnumerator(std::move(items), ppEnum);
    });
}

HRESULT XLXParentChildCache::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) {
    return XLXError::Guarded(TheFacts.At("GetPCInfo"), [&] {
        LXCheckOut(ppPCInfo, OLESTR("ppPCInfo"), TheFacts.At("GetPCInfo", 404));
        *ppPCInfo = FindPCInfo(LXBstrView(bstrBrowserId)).Detach();
        return *ppPCInfo != nullptr ? S_OK : S_FALSE;
    });
}

// The browser that a PC info shows is read from the PC info: it may have changed since the map was made. One that
// cannot be read ends the search.
XLXComPtr<XLXPCInfoCache> XLXParentChildCache::FindPCInfo(XLXTextView browserId) {
    const XLXText wanted = LXLowerCase(browserId);
    const PCInfoMapPtr infos = LoadPCInfos();
    for (const auto& [key, info] : *infos) {
        const auto browser = info->TryRead(MemberPCInfoBrowser);
        const auto text = browser ? browser->AsText() : std::nullopt;
        if (!text) { break; }
        if (LXLowerCase(*text) == wanted) { return info; }
    }
    return nullptr;
}

bool XLXParentChildCache::HasPCInfos() { return !LoadPCInfos()->empty(); }

XLXParentChildCache::PCInfoMapPtr XLXParentChildCache::LoadPCInfos() {
    if (PCInfoMapPtr fresh = m_pcInfos.Fresh()) { return fresh; }
    std::exception_ptr failure;
    XMoment moment;
    const PCInfoMapPtr infos = m_pcInfos.Load(
        TimeOf(XAspect::PCInfos),
        [&] {
            moment = Moment();
            return FetchPCInfos(moment, failure);
        },
        // The relation passes a notification that comes straight to it on to the PC infos in the map. Those that are
        // published after one that came while they were on their way would miss it.
        [&](const PCInfoMap& map, const PCInfoMapPtr& former) {
            LXReplaceMap(former.get(), map);
            for (const auto& [browser, info] : map) {
                info->TakeOwnersNumber(Direct(), moment);
            }
        });
    if (failure) {
        std::rethrow_exception(failure); // once: what came before it is kept
    }
    return OrNone(infos);
}

XLXParentChildCache::PCInfoMapPtr XLXParentChildCache::OrNone(const PCInfoMapPtr& infos) {
    static const PCInfoMap none;
    return infos ? infos : PCInfoMapPtr(PCInfoMapPtr(), &none);
}

XLXParentChildCache::PCInfoMapPtr XLXParentChildCache::FetchPCInfos(const XMoment& moment,
                                                                    std::exception_ptr& failure) {
    const LXErrorLocation at = TheFacts.At("LoadPCInfos");
    const PCInfoMapPtr former = OrNone(m_pcInfos.Held());
    auto fresh = std::make_shared<PCInfoMap>();
    XRetired retired;
    XLXComPtr<ILXPCInfoEnum> infos;
    const HRESULT result = LXWithoutRaising([&] {
        const auto server = Server();
        return LXAsk("ILXParentChild::GetPCInfoEnum", infos, LXNoResult::Nothing, {}, at,
                     [&](ILXPCInfoEnum** out) { return server->GetPCInfoEnum(out); });
    });
    try {
        if (SUCCEEDED(result) && infos) {
            LXForEachOf<PCInfoBatch, ILXPCInfo>(*infos, "ILXPCInfoEnum::RemNext", at,
                                                [&](XLXComPtr<ILXPCInfo>&& element) {
                                                    AddPCInfo(*former, *fresh, std::move(element), moment, retired);
                                                });
        }
    } catch (const XLXException&) { failure = std::current_exception(); }
    return fresh;
}

// A PC info that is there already for its browser stays the same object: whoever holds it reads the new values.
void XLXParentChildCache::AddPCInfo(const PCInfoMap& former, PCInfoMap& to, XLXComPtr<ILXPCInfo> server,
                                    const XMoment& moment, XRetired& retired) const {
    const LXErrorLocation at = TheFacts.At("LoadPCInfos");
    XVariantRow values;
    const HRESULT read = LXWithoutRaising([&] { return LXFetchProperties(*server, at, values); });
    auto key = read == S_OK && values.size() > MemberPCInfoBrowser ? XCFGStringKey::Of(values[MemberPCInfoBrowser])
                                                                   : std::nullopt;
    if (!key) {
        return; // without its browser there is no key to find it by
    }
    LXEnterRecord(&former, to, std::move(*key), std::move(server), std::move(values), moment, Clock(), retired);
}

void XLXParentChildCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched) {
    AdvanceIf(XAspect::PCInfos, notification.concerned, m_pcInfos, touched);
    // The receivers only advance counts, so they may be called under the lock.
    m_pcInfos.ReadHeld([&](const PCInfoMap* infos) { LXNotifyDirectly(infos, notification, touched); });
}

// SPDX-License-Identifier: MIT
#include "lxparentchildcache.h"

#include "XLXEnumWithDelete.h"

namespace {
constexpr int MemberPCInfoBrowser = 1;
constexpr ULONG PCInfoBatch = 31;
} // namespace

XLXParentChildCache::XLXParentChildCache(XLXComPtr<IUnknown> server, XClockPtr clock)
    : XLXConfigObjectCache(std::move(server), std::move(clock)),
      m_pcInfos(nullptr, XStamp{}, TimeOf(XAspect::PCInfos)) {}

HRESULT XLXParentChildCache::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) {
    return LXAnswer(TheClass.At("GetPCInfoEnum", 368), OLESTR("ppEnum"), ppEnum,
                    [&] { return LXHandOutAll<ILXPCInfo>(LoadPCInfos(), ppEnum); });
}

HRESULT XLXParentChildCache::GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) {
    return LXAnswer(TheClass.At("GetPCInfo", 404), OLESTR("ppPCInfo"), ppPCInfo,
                    [&] { return LXHandOut(FindPCInfo(LXBstrView(bstrBrowserId)), ppPCInfo); });
}

// Reads the browser from each PC info, because it may have changed since the map was loaded. A PC info that cannot be
// read ends the search.
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
        [&](const XStamp& stamp) {
            moment = Moment();
            auto fresh = std::make_shared<PCInfoMap>();
            LXKeepFailure(failure, [&] { FetchPCInfos(*fresh, {stamp, moment}); });
            return fresh;
        },
        // New PC infos missed a direct notification to the relation that arrived after the moment; taking over the
        // owner's number makes up for that.
        [&](const PCInfoMap& map, const PCInfoMapPtr& former) {
            LXReplaceMap(former.get(), map);
            for (const auto& [browser, info] : map) {
                info->TakeOwnersNumber(Direct(), moment);
            }
        });
    LXRaiseKept(failure);
    static const PCInfoMap none;
    return infos ? infos : PCInfoMapPtr(PCInfoMapPtr(), &none);
}

// A known PC info is refreshed in place, because clients may hold it.
void XLXParentChildCache::FetchPCInfos(PCInfoMap& fresh, const XRequestTime& requested) const {
    const LXErrorLocation at = TheClass.At("LoadPCInfos");
    const PCInfoMapPtr former = m_pcInfos.Held();
    XRetired retired;
    XLXComPtr<ILXPCInfoEnum> infos;
    const HRESULT result = LXWithoutRaising([&] {
        const auto server = Server();
        return LXAsk("ILXParentChild::GetPCInfoEnum", infos, LXNoResult::Nothing, {}, at,
                     [&](ILXPCInfoEnum** out) { return server->GetPCInfoEnum(out); });
    });
    if (FAILED(result) || !infos) { return; }
    LXForEachOf<PCInfoBatch, ILXPCInfo>(*infos, "ILXPCInfoEnum::RemNext", at, [&](XLXComPtr<ILXPCInfo>&& info) {
        XVariantRow values;
        const HRESULT read = LXWithoutRaising([&] { return LXFetchProperties(*info, at, values); });
        auto key = read == S_OK ? XCFGStringKey::Of(values[MemberPCInfoBrowser]) : std::nullopt;
        if (key) // a PC info without a browser could never be found
        {
            LXEnterRecord(former.get(), fresh, std::move(*key), std::move(info), std::move(values), requested, Clock(),
                          retired);
        }
    });
}

void XLXParentChildCache::OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched) {
    AdvanceIf(XAspect::PCInfos, notification.concerned, m_pcInfos, touched);
    // The receivers only advance counts, so they may be called under the lock.
    m_pcInfos.ReadHeld([&](const PCInfoMap* infos) { LXNotifyDirectly(infos, notification, touched); });
}

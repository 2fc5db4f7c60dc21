// SPDX-License-Identifier: MIT
#ifndef LXPARENTCHILDCACHE_H
#define LXPARENTCHILDCACHE_H

#include "XBasicCritSection.h"
#include "XCFGStringKey.h"
#include "XFillMutex.h"
#include "XFilledFlag.h"
#include "XLazyPart.h"
#include "lxpcinfocache.h"

#include <map>
#include <vector>

/// A relation: which type may stand below which, in which child list, with how each browser shows it.
class XLXParentChildCache final
    : public XLXConfigObjectCache<XLXParentChildCache, XCachedFacts::ParentChild, ILXParentChild>
{
public:
    explicit XLXParentChildCache(XLXComPtr<IUnknown> server) : XLXConfigObjectCache(std::move(server)) {}

    // ILXParentChild
    HRESULT STDMETHODCALLTYPE AddPCInfo(ILXPCInfo** ppPCInfo) override { return LXNotOffered(ppPCInfo); }
    HRESULT STDMETHODCALLTYPE RemovePCInfo(ILXPCInfo*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override;

    // For the owner

    /// The PC info of a browser, whose id is compared without regard to case; null when there is none.
    XLXComPtr<XLXPCInfoCache> FindPCInfo(XLXTextView browserId);
    bool HasPCInfos();
    /// Reads the PC infos from the server unless they are loaded. A relation whose server cannot list them
    /// counts as having none, until a notification says otherwise.
    void LoadPCInfos();

    /// Drops the PC infos; the next request asks for them again.
    HRESULT Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    using PCInfoMap = std::map<XCFGStringKey, XLXComPtr<XLXPCInfoCache>>;

    struct PCInfos
    {
        XFillMutex fill{XLockLevel::ObjectFill};
        XCritDataCFC<PCInfoMap> map{XLockLevel::ObjectMap};
    };

    HRESULT OnNotification(const XChangeNotification& notification);
    PCInfoMap FetchPCInfos();
    /// The PC infos that are there, in key order.
    std::vector<XLXComPtr<XLXPCInfoCache>> Loaded() const;

    XFilledFlag m_pcInfosLoaded;
    std::atomic<std::uint64_t> m_notifications{0}; // counted before anything is invalidated
    XLazyPart<PCInfos> m_pcInfos;                  // most relations are never asked for theirs
};

#endif

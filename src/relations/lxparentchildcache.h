// SPDX-License-Identifier: MIT
#ifndef LXPARENTCHILDCACHE_H
#define LXPARENTCHILDCACHE_H

#include "XCFGStringKey.h"
#include "lxpcinfocache.h"

/// The properties of a relation that the component reads, by index.
enum LXRelationMember : int {
    LXRM_CHILDLISTNAME = 0,
    LXRM_CHILDNAME = 1,
    LXRM_SYSTEMINTERNAL = 14,
    LXRM_PARENTNAME = 19,
    LXRM_PPRRELATIONTYPE = 20,
    LXRM_NAMESHORT = 21
};

/// A relation: which child type is allowed below which parent type, in which child list, with the PC infos that define
/// how each browser shows it.
class XLXParentChildCache final
    : public XLXConfigObjectCache<XLXParentChildCache, XCachedFacts::ParentChild, ILXParentChild> {
public:
    XLXParentChildCache(XLXComPtr<IUnknown> server, XClockPtr clock);

    // ILXParentChild
    HRESULT STDMETHODCALLTYPE AddPCInfo(ILXPCInfo** ppPCInfo) override { return LXNotOffered(ppPCInfo); }
    HRESULT STDMETHODCALLTYPE RemovePCInfo(ILXPCInfo*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override;

    // For the owner

    /// The PC info of a browser, compared case-insensitively; null if there is none.
    XLXComPtr<XLXPCInfoCache> FindPCInfo(XLXTextView browserId);
    bool HasPCInfos();

    /// Drops the PC infos; the next query loads them again.
    void Terminate() noexcept { const auto former = m_pcInfos.Clear(); }

private:
    friend XLXConfigObjectCache;
    using PCInfoMap = XNameMap<XLXComPtr<XLXPCInfoCache>>;
    using PCInfoMapPtr = std::shared_ptr<const PCInfoMap>;

    void AdvanceParts() noexcept { m_pcInfos.Advance(); }
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);
    /// The PC infos, loaded unless they are fresh. If the thread is already loading them: the former ones, or none. If
    /// the server cannot list them, the relation has none until the next notification.
    PCInfoMapPtr LoadPCInfos();
    void FetchPCInfos(PCInfoMap& fresh, const XRequestTime& requested) const;

    XLoaded<PCInfoMap> m_pcInfos;
};

#endif

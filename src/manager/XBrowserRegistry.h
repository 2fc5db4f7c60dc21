// SPDX-License-Identifier: MIT
//
// The manager's browser ids, and the PC infos that every browser has for relations without a server object.
//
// Both are filled once, at first use. A notification makes the browser ids read their values again, but does
// not make the registry ask for new ones. The PC infos mirror nothing on the server, so no notification
// concerns them.
//
// Threading  Any thread may call. The maps' locks are held for copying and swapping alone.
#ifndef XBROWSERREGISTRY_H
#define XBROWSERREGISTRY_H

#include "XCFGStringKey.h"
#include "XFillMutex.h"
#include "lxbrowseridcache.h"
#include "lxpcinfocache.h"

#include <map>

class XLXConfigFactoryCacheManager;

class XBrowserRegistry
{
public:
    /// @param manager  outlives the registry
    explicit XBrowserRegistry(const XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}

    /// All browser ids, in key order; read from the server first when needed. Raises a failure of the server.
    std::vector<XLXComPtr<ILXBrowserId>> BrowserIds();
    /// Null when there is none of exactly that name.
    XLXComPtr<ILXBrowserId> BrowserId(XLXTextView name);

    /// The PC infos of one of the two generations.
    /// @param newRelations  whether they say of themselves that they are new
    std::vector<XLXComPtr<ILXPCInfo>> PCInfos(bool newRelations);
    XLXComPtr<ILXPCInfo> PCInfo(XLXTextView browserId, bool newRelations);

    HRESULT Notify(const XChangeNotification& notification) const;

    /// Terminate the objects and empty the maps.
    void TerminateBrowserIds();
    void TerminatePCInfos(bool newRelations);

private:
    using BrowserIdMap = std::map<XCFGStringKey, XLXComPtr<XLXBrowserIdCache>>;
    using PCInfoMap = std::map<XCFGStringKey, XLXComPtr<XLXPCInfoCache>>;

    void FillBrowserIds();
    BrowserIdMap FetchBrowserIds() const;
    void FillPCInfos();
    static PCInfoMap MakePCInfos(const BrowserIdMap& browserIds, bool newRelations);
    BrowserIdMap HeldBrowserIds() const;
    XCritDataCFC<PCInfoMap>& Generation(bool newRelations) noexcept
    {
        return newRelations ? m_mapPCinfoNew : m_mapPCinfo;
    }

    const XLXConfigFactoryCacheManager& m_manager;
    XFilledFlag m_browserIdsFilled;
    XFillMutex m_browserIdFill{XLockLevel::BrowserIdFill};
    mutable XCritDataCFC<BrowserIdMap> m_mapBrowserid{XLockLevel::BrowserIds};
    XFilledFlag m_pcInfosFilled;
    XFillMutex m_pcInfoFill{XLockLevel::PCInfoFill};
    XCritDataCFC<PCInfoMap> m_mapPCinfo{XLockLevel::PCInfos};
    XCritDataCFC<PCInfoMap> m_mapPCinfoNew{XLockLevel::PCInfosNew};
};

#endif

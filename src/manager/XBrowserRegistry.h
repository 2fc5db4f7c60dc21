// SPDX-License-Identifier: MIT
//
// The manager's browser ids, and the PC infos that every browser has for relations without a server object.
//
// Both are filled once, at first use, and stay filled while the connection lasts. A notification makes the values of
// browser ids stale, not the set. The PC infos mirror nothing on the server, so no notification concerns them.
//
// Threading  Any thread may call. The maps' locks are held for copying and swapping alone.
#ifndef XBROWSERREGISTRY_H
#define XBROWSERREGISTRY_H

#include "XCFGStringKey.h"
#include "XConnection.h"
#include "XLoaded.h"
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

    /// The PC infos of one of the two generations.
    /// @param newRelations  whether they say of themselves that they are new
    std::vector<XLXComPtr<ILXPCInfo>> PCInfos(bool newRelations);
    XLXComPtr<ILXPCInfo> PCInfo(XLXTextView browserId, bool newRelations);

    /// From now on answers of the connection with that clock are kept.
    void Begin(const XClockPtr& clock);
    /// Terminate the objects of a connection, and keep nothing more.
    void TerminateBrowserIds(const XClockPtr& clock);
    void TerminatePCInfos(const XClockPtr& clock, bool newRelations);

private:
    using BrowserIdMap = std::map<XCFGStringKey, XLXComPtr<XLXBrowserIdCache>>;
    using PCInfoMap = std::map<XCFGStringKey, XLXComPtr<XLXPCInfoCache>>;

    using BrowserIdMapPtr = std::shared_ptr<const BrowserIdMap>;
    using PCInfoMapPtr = std::shared_ptr<const PCInfoMap>;

    BrowserIdMapPtr LoadBrowserIds();
    BrowserIdMap FetchBrowserIds(const XServerAccess& server) const;
    PCInfoMapPtr LoadPCInfos(bool newRelations);
    static PCInfoMap MakePCInfos(const BrowserIdMap& browserIds, bool newRelations);
    XSharedLoaded<PCInfoMap>& Generation(bool newRelations) noexcept
    {
        return newRelations ? m_mapPCinfoNew : m_mapPCinfo;
    }

    const XLXConfigFactoryCacheManager& m_manager;
    XSharedLoaded<BrowserIdMap> m_mapBrowserid{XLockLevel::BrowserIds};
    XSharedLoaded<PCInfoMap> m_mapPCinfo{XLockLevel::PCInfos};
    XSharedLoaded<PCInfoMap> m_mapPCinfoNew{XLockLevel::PCInfosNew};
};

#endif

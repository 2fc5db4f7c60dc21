// SPDX-License-Identifier: MIT
//
// The manager's browser ids: read once, at first use, and kept while the connection lasts. A notification makes the
// values of browser ids stale, not the set.
//
// Threading  Any thread may call. The map's lock is held for copying and swapping alone.
#ifndef XBROWSERREGISTRY_H
#define XBROWSERREGISTRY_H

#include "XCFGStringKey.h"
#include "XConnection.h"
#include "XLoaded.h"
#include "lxbrowseridcache.h"

class XLXConfigFactoryCacheManager;

class XBrowserRegistry {
public:
    using Map = XNameMap<XLXComPtr<XLXBrowserIdCache>>;

    /// @param manager  outlives the registry
    explicit XBrowserRegistry(const XLXConfigFactoryCacheManager& manager) noexcept : m_manager(manager) {}

    /// All browser ids, in key order. Null: the thread is reading them already. Raises a failure of the server.
    std::shared_ptr<const Map> Load();

    /// From now on answers of the connection with that clock are kept.
    void Begin(const XClockPtr& clock) { m_mapBrowserid.Begin({clock, std::nullopt}); }
    /// Forgets the browser ids of that connection, and keeps nothing more.
    void End(const XClockPtr& clock) { m_mapBrowserid.End({clock, std::nullopt}); }

private:
    static Map Fetch(const XServerAccess& server);

    const XLXConfigFactoryCacheManager& m_manager;
    XSharedLoaded<Map> m_mapBrowserid{XLockLevel::BrowserIds};
};

#endif

// SPDX-License-Identifier: MIT
//
// The PC infos that every browser has for relations without a server object. There are two generations, which differ
// in whether they say of themselves that they are new. They mirror nothing on the server, so no notification concerns
// them; they are made once, when all browser ids are known.
//
// Threading  Any thread may call. The map's lock is held for copying and swapping alone.
#ifndef XPCINFOS_H
#define XPCINFOS_H

#include "XBrowserRegistry.h"
#include "lxpcinfocache.h"

class XPCInfos {
public:
    using Map = XNameMap<XLXComPtr<XLXPCInfoCache>>;

    /// @param manager, browsers  outlive the PC infos
    XPCInfos(const XLXConfigFactoryCacheManager& manager, XBrowserRegistry& browsers, XLockLevel level, bool areNew)
        : m_manager(manager), m_browsers(browsers), m_areNew(areNew), m_map(level) {}

    /// All PC infos, in the order of the browsers; S_FALSE and null when there are none.
    HRESULT GetPCInfoEnum(ILXPCInfoEnum** ppEnum);
    /// The PC info of exactly that browser; S_FALSE and null when there is none.
    HRESULT GetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo);

    /// From now on the PC infos belong to the connection with that clock.
    void Begin(const XClockPtr& clock) { m_map.Begin({clock, std::nullopt}); }
    /// Forgets the PC infos of that connection, and keeps nothing more.
    void End(const XClockPtr& clock) { m_map.End({clock, std::nullopt}); }

private:
    /// Null: the thread is reading the browser ids.
    std::shared_ptr<const Map> Load();
    std::shared_ptr<const Map> Make(const XBrowserRegistry::Map& browserIds) const;

    const XLXConfigFactoryCacheManager& m_manager;
    XBrowserRegistry& m_browsers;
    const bool m_areNew;
    XSharedLoaded<Map> m_map;
};

#endif

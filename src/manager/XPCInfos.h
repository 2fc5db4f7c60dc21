// SPDX-License-Identifier: MIT
#ifndef XPCINFOS_H
#define XPCINFOS_H

#include "XBrowserRegistry.h"
#include "lxpcinfocache.h"

/// The PC infos that every browser has for relations without a server object. There are two sets, which differ only in
/// the property LXP_PC_INFO_NEW. They mirror nothing on the server, so no notification concerns them. They are created
/// once, from all browser ids.
class XPCInfos : public XRegistry<XNameMap<XLXComPtr<XLXPCInfoCache>>> {
public:
    /// @param browsers  must outlive this object
    XPCInfos(const XConnectionOwner& owner, XBrowserRegistry& browsers, XLockLevel level, bool areNew)
        : XRegistry(owner, level), m_browsers(browsers), m_areNew(areNew) {}

    /// All PC infos by browser. Null when the calling thread is already loading the browser ids.
    Value Load();

private:
    XBrowserRegistry& m_browsers;
    const bool m_areNew;
};

#endif

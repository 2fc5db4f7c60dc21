// SPDX-License-Identifier: MIT
#ifndef XPCINFOS_H
#define XPCINFOS_H

#include "XBrowserRegistry.h"
#include "lxpcinfocache.h"

/// The PC infos that every browser has for relations without a server object. There are two generations, which differ
/// in whether they say of themselves that they are new. They mirror nothing on the server, so no notification concerns
/// them; they are made once, when all browser ids are known.
class XPCInfos : public XRegistry<XNameMap<XLXComPtr<XLXPCInfoCache>>> {
public:
    /// @param browsers  outlive the PC infos
    XPCInfos(const XConnectionOwner& owner, XBrowserRegistry& browsers, XLockLevel level, bool areNew)
        : XRegistry(owner, level), m_browsers(browsers), m_areNew(areNew) {}

    /// All of them, by browser. Null: the thread is reading the browser ids.
    Value Load();

private:
    XBrowserRegistry& m_browsers;
    const bool m_areNew;
};

#endif

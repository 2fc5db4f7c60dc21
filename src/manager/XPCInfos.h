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

    /// All PC infos, in the order of the browsers; S_FALSE and null when there are none.
    HRESULT GetPCInfoEnum(ILXPCInfoEnum** ppEnum);
    /// The PC info of exactly that browser; S_FALSE and null when there is none.
    HRESULT GetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo);

private:
    /// Null: the thread is reading the browser ids.
    Value Load();

    XBrowserRegistry& m_browsers;
    const bool m_areNew;
};

#endif

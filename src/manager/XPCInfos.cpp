// SPDX-License-Identifier: MIT
#include "XPCInfos.h"

#include "XLXEnumWithDelete.h"
#include "lxconfigfactorycachemanager.h"
#include "lxtransientpcinfo.h"

HRESULT XPCInfos::GetPCInfoEnum(ILXPCInfoEnum** ppEnum) {
    LXCheckOut(ppEnum, OLESTR("ppEnum"), LXManagerAt("InternalGetPCInfoEnum"));
    return LXHandOutEnumerator(LXObjectsOf<ILXPCInfo>(Load().get()), ppEnum);
}

HRESULT XPCInfos::GetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo) {
    LXCheckOut(ppPCInfo, OLESTR("ppPCInfo"), LXManagerAt("InternalGetPCInfo"));
    const auto infos = Load();
    const auto found = infos ? infos->find(browserId) : Map::const_iterator();
    if (!infos || found == infos->end()) { return S_FALSE; }
    XLXComPtr<ILXPCInfo>(found->second).CopyTo(ppPCInfo);
    return S_OK;
}

std::shared_ptr<const XPCInfos::Map> XPCInfos::Load() {
    if (auto fresh = m_map.Fresh()) { return fresh; }
    const auto browserIds = m_browsers.Load();
    if (!browserIds) { return nullptr; }
    const XServerAccess server = m_manager.Access("InternalFillPCInfos");
    return m_map.Load({server.clock, std::nullopt}, [&] { return Make(*browserIds); });
}

std::shared_ptr<const XPCInfos::Map> XPCInfos::Make(const XBrowserRegistry::Map& browserIds) const {
    const auto infos = std::make_shared<Map>();
    for (const auto& [key, browserId] : browserIds) {
        const auto info = LXCFCTOOLS::Make<XLXPCInfoCache>(nullptr, XClockPtr());
        info->AssignProperties(XLXTransientPCInfo::Values(key.Text(), m_areNew), XMoment::Timeless());
        infos->emplace(key, info);
    }
    return infos;
}

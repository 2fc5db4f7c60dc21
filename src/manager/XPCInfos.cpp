// SPDX-License-Identifier: MIT
#include "XPCInfos.h"

#include "lxtransientpcinfo.h"

XPCInfos::Value XPCInfos::Load() {
    if (Value fresh = m_loaded.Fresh()) { return fresh; }
    const auto browserIds = m_browsers.Load();
    if (!browserIds) { return nullptr; }
    return XRegistry::Load("InternalFillPCInfos", [&](const XConnection&) {
        XNameMap<XLXComPtr<XLXPCInfoCache>> infos;
        XRetired retired;
        for (const auto& [key, browserId] : *browserIds) {
            const auto info = LXCFCTOOLS::Make<XLXPCInfoCache>(nullptr, XClockPtr());
            info->RefillValues(XLXTransientPCInfo::Values(key.Text(), m_areNew), XMoment::Timeless(), retired);
            infos.emplace(key, info);
        }
        return infos;
    });
}

// SPDX-License-Identifier: MIT
#ifndef LXPCINFOCACHE_H
#define LXPCINFOCACHE_H

#include "XLXConfigObjectCache.h"

/// How one browser shows a parent-child relation.
class XLXPCInfoCache final : public XLXConfigObjectCache<XLXPCInfoCache, XCachedFacts::PCInfo, ILXPCInfo> {
public:
    static constexpr std::size_t Slots = 10; // there before the first values are

    XLXPCInfoCache(XLXComPtr<IUnknown> server, XClockPtr clock)
        : XLXConfigObjectCache(std::move(server), std::move(clock), Slots) {}

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

// SPDX-License-Identifier: MIT
#ifndef LXBROWSERIDCACHE_H
#define LXBROWSERIDCACHE_H

#include "XLXConfigObjectCache.h"

/// A browser that the server knows; read-only.
class XLXBrowserIdCache final : public XLXConfigObjectCache<XLXBrowserIdCache, XCachedFacts::BrowserId, ILXBrowserId>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

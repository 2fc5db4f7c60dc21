// SPDX-License-Identifier: MIT
#ifndef LXPAGECACHE_H
#define LXPAGECACHE_H

#include "XLXConfigObjectCache.h"

/// A page of a type's dialog.
class XLXPageCache final : public XLXConfigObjectCache<XLXPageCache, XCachedFacts::Page, ILXPage>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

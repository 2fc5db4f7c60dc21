// SPDX-License-Identifier: MIT
#ifndef LXFORMATCACHE_H
#define LXFORMATCACHE_H

#include "XLXConfigObjectCache.h"

/// How a value is shown: the common model and nothing else.
class XLXFormatCache final : public XLXConfigObjectCache<XLXFormatCache, XCachedFacts::Format, ILXFormat>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

// SPDX-License-Identifier: MIT
#ifndef LXATTRIBUTETYPECACHE_H
#define LXATTRIBUTETYPECACHE_H

#include "XLXConfigObjectCache.h"

/// A value type of an attribute.
class XLXAttributeTypeCache final
    : public XLXConfigObjectCache<XLXAttributeTypeCache, XCachedFacts::AttributeType, ILXAttributeType>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

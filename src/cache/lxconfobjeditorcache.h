// SPDX-License-Identifier: MIT
#ifndef LXCONFOBJEDITORCACHE_H
#define LXCONFOBJEDITORCACHE_H

#include "XLXConfigObjectCache.h"

/// An editor registered for a type.
class XLXConfObjEditorCache final
    : public XLXConfigObjectCache<XLXConfObjEditorCache, XCachedFacts::Editor, ILXConfObjEditor>
{
public:
    using XLXConfigObjectCache::XLXConfigObjectCache;

    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }
};

#endif

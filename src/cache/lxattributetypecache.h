// SPDX-License-Identifier: MIT
#ifndef LXATTRIBUTETYPECACHE_H
#define LXATTRIBUTETYPECACHE_H

#include "XLXConfigObjectCache.h"

/// A value type of an attribute.
using XLXAttributeTypeCache = XLXPlainObjectCache<XCachedFacts::AttributeType, ILXAttributeType>;

#endif

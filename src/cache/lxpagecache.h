// SPDX-License-Identifier: MIT
#ifndef LXPAGECACHE_H
#define LXPAGECACHE_H

#include "XLXConfigObjectCache.h"

/// A page of a type's dialog.
using XLXPageCache = XLXPlainObjectCache<XCachedFacts::Page, ILXPage>;

#endif

// SPDX-License-Identifier: MIT
#ifndef LXBROWSERIDCACHE_H
#define LXBROWSERIDCACHE_H

#include "XLXConfigObjectCache.h"

/// A browser of the server; read-only.
using XLXBrowserIdCache = XLXPlainObjectCache<XCachedFacts::BrowserId, ILXBrowserId>;

#endif

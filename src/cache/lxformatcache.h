// SPDX-License-Identifier: MIT
#ifndef LXFORMATCACHE_H
#define LXFORMATCACHE_H

#include "XLXConfigObjectCache.h"

/// How a value is shown.
using XLXFormatCache = XLXPlainObjectCache<XCachedFacts::Format, ILXFormat>;

#endif

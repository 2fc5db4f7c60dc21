// SPDX-License-Identifier: MIT
#ifndef LXFORMATCACHE_H
#define LXFORMATCACHE_H

#include "XLXConfigObjectCache.h"

/// The display format of a value.
using XLXFormatCache = XLXPlainObjectCache<XCachedFacts::Format, ILXFormat>;

#endif

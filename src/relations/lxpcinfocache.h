// SPDX-License-Identifier: MIT
#ifndef LXPCINFOCACHE_H
#define LXPCINFOCACHE_H

#include "XLXConfigObjectCache.h"

/// How one browser shows a parent-child relation.
using XLXPCInfoCache = XLXPlainObjectCache<XCachedFacts::PCInfo, ILXPCInfo>;

#endif

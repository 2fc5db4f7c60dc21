// SPDX-License-Identifier: MIT
#ifndef LXCONFOBJEDITORCACHE_H
#define LXCONFOBJEDITORCACHE_H

#include "XLXConfigObjectCache.h"

/// An editor that is registered for a type.
using XLXConfObjEditorCache = XLXPlainObjectCache<XCachedFacts::Editor, ILXConfObjEditor>;

#endif

// SPDX-License-Identifier: MIT
#ifndef XBROWSERREGISTRY_H
#define XBROWSERREGISTRY_H

#include "XCFGStringKey.h"
#include "XRegistry.h"
#include "lxbrowseridcache.h"

/// The manager's browser ids. They are loaded on first use and kept for the connection: a notification makes the values
/// of browser ids stale, but not the set.
class XBrowserRegistry : public XRegistry<XNameMap<XLXComPtr<XLXBrowserIdCache>>> {
public:
    using XRegistry::XRegistry;

    /// All browser ids in key order. Null when the calling thread is already loading them. Raises a failure of the
    /// server.
    Value Load();
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XBROWSERREGISTRY_H
#define XBROWSERREGISTRY_H

#include "XCFGStringKey.h"
#include "XRegistry.h"
#include "lxbrowseridcache.h"

/// The manager's browser ids: read once, at first use, and kept while the connection lasts. A notification makes the
/// values of browser ids stale, not the set.
class XBrowserRegistry : public XRegistry<XNameMap<XLXComPtr<XLXBrowserIdCache>>> {
public:
    using XRegistry::XRegistry;

    /// All browser ids, in key order. Null: the thread is reading them already. Raises a failure of the server.
    Value Load();
};

#endif

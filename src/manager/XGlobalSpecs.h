// SPDX-License-Identifier: MIT
#ifndef XGLOBALSPECS_H
#define XGLOBALSPECS_H

#include "LXGlobalAttributeFormatSpecCache.h"
#include "XRegistry.h"

/// The manager's global attribute format specs, in the server's order.
class XGlobalSpecs : public XRegistry<std::vector<XLXComPtr<XLXGlobalAttributeFormatSpecCache>>> {
public:
    using XRegistry::XRegistry;

    /// The specs, read from the server unless they are there; none when the server says that it has none, which is
    /// kept. An enumeration that fails on the way is raised once, and leaves what came before as the whole. Null: the
    /// thread is reading them already.
    Value InternalFillGlobalFormatSpecCache();

    /// Removes a spec on the server, and then here: this object, when it is known, and whichever has that id. What is
    /// being read from the server at the moment is older.
    HRESULT Remove(ILXConfigFactory& factory, XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id,
                   const LXErrorLocation& at);

    /// Terminates the specs of a connection, and keeps nothing more.
    void End(const XClockPtr& clock);
};

#endif

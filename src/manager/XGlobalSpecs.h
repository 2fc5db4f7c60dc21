// SPDX-License-Identifier: MIT
#ifndef XGLOBALSPECS_H
#define XGLOBALSPECS_H

#include "LXGlobalAttributeFormatSpecCache.h"
#include "XRegistry.h"

/// The manager's global attribute format specs in the server's order.
class XGlobalSpecs : public XRegistry<std::vector<XLXComPtr<XLXGlobalAttributeFormatSpecCache>>> {
public:
    static constexpr int MemberPropertyId = 0; ///< the property of a spec that is its id

    using XRegistry::XRegistry;

    /// The specs, loaded on first use and after a notification. When the server has none, the empty set is cached. When
    /// an enumeration fails part way, this call raises the failure, and the specs before it are cached as the set. Null
    /// when the calling thread is already loading them.
    Value InternalFillGlobalFormatSpecCache();

    /// Removes a spec on the server, then here: the given object, if it is one of ours, and the cached spec with this
    /// id. Answers that the server is still preparing do not bring it back.
    HRESULT Remove(ILXConfigFactory& factory, XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id,
                   const LXErrorLocation& at);

    /// Terminates the specs of a connection and accepts no more answers for it.
    void End(const XClockPtr& clock);
};

#endif

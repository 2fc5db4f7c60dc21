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

    /// The specs, loaded on first use and after a notification. If the server has none, the empty set is cached. If an
    /// enumeration fails part way, the specs before the failure are cached as the set; only an endless enumeration is
    /// raised, once. If the thread is already loading them: the former specs, or null.
    Value InternalFillGlobalFormatSpecCache();

    /// Removes a spec on the server, then here: the given object, if it is one of ours, and the cached spec with this
    /// id. Answers that the server is still preparing do not bring it back.
    HRESULT Remove(ILXConfigFactory& factory, XLXGlobalAttributeFormatSpecCache* spec, XLXTextView id,
                   const LXErrorLocation& at);

    /// Terminates the specs of a connection and accepts no more answers for it.
    void End(const XClockPtr& clock);
};

#endif

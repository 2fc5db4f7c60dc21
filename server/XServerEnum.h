// SPDX-License-Identifier: MIT
//
// The server's enumerators: those of the kit, with calls seen by the monitor.
#ifndef XSERVERENUM_H
#define XSERVERENUM_H

#include "XServerObject.h"

#include <lxserver/Enumerator.h>

template <class IEnumX, class IX>
using XServerEnum = lx::EnumeratorOn<XServerObject<IEnumX>, IEnumX, IX, XLXComPtr<IX>>;

/// Returns an enumerator; S_FALSE and null if there is nothing to enumerate.
template <class IEnumX, class IX>
HRESULT LXHandOut(const XServerCorePtr& core, std::vector<XLXComPtr<IX>> items, IEnumX** out) {
    if (items.empty()) { return S_FALSE; }
    *out = LXMake<XServerEnum<IEnumX, IX>>(std::move(items), core).Detach();
    return S_OK;
}

#endif

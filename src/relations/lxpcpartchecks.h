// SPDX-License-Identifier: MIT
//
// Argument checks of the relation manager.
#ifndef LXPCPARTCHECKS_H
#define LXPCPARTCHECKS_H

#include "XLXComBSTR.h"

/// Source name, scope and method of the relation manager's error locations.
constexpr LXErrorLocation LXPCPartAt(const char* method, int line = LX_CURRENT_LINE)
{
    return {"lxpcpartcachemng", "XLXPCPartCacheMng", method, line};
}

inline void LXCheckNotEmpty(BSTR text, XLXTextView failureText, const LXErrorLocation& at)
{
    if (LXBstrView(text).empty())
    {
        XLXError::Raise(E_INVALIDARG, failureText, at);
    }
}

#endif

// SPDX-License-Identifier: MIT
#ifndef LXTRANSIENTPCINFO_H
#define LXTRANSIENTPCINFO_H

#include "XLXTransientObject.h"

/// A PC info without a server object; read-only. Its creator owns it. References do not prolong its life, but they keep
/// the module loaded.
class XLXTransientPCInfo final
    : public XLXTransientObject<XModuleReferences<XLXTransientPCInfo, ILXPCInfo>, EConfigElementKind::PCInfo> {
public:
    /// @param isNew  the value of the property LXP_PC_INFO_NEW
    XLXTransientPCInfo(XLXTextView browserId, bool isNew);

    HRESULT STDMETHODCALLTYPE Set(BSTR, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetProperty(int, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }

    /// All ten values of such a PC info, to initialise an equivalent cached one.
    static XLXVariantVector Values(XLXTextView browserId, bool isNew);
};

#endif

// SPDX-License-Identifier: MIT
#ifndef LXTRANSIENTPCINFO_H
#define LXTRANSIENTPCINFO_H

#include "XLXTransientObject.h"

/// A PC info without a server object; read-only. It lives as long as its creator keeps it, whoever has references to
/// it; they keep the module loaded.
class XLXTransientPCInfo final
    : public XLXTransientObject<XModuleReferences<XLXTransientPCInfo, ILXPCInfo>, EConfigElementKind::PCInfo> {
public:
    /// @param isNew  answered as the property that says so
    XLXTransientPCInfo(XLXTextView browserId, bool isNew);

    HRESULT STDMETHODCALLTYPE Set(BSTR, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetProperty(int, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE dummy() override { return E_NOTIMPL; }

    /// All ten values of such a PC info, for a cached one that is to show the same.
    static XLXVariantVector Values(XLXTextView browserId, bool isNew);
};

#endif

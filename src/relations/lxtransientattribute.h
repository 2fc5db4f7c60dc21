// SPDX-License-Identifier: MIT
#ifndef LXTRANSIENTATTRIBUTE_H
#define LXTRANSIENTATTRIBUTE_H

#include "XLXTransientObject.h"

/// An attribute without a server object. It is created for its caller and reference counted.
class XLXTransientAttribute final
    : public XLXTransientObject<XUnknown<XLXTransientAttribute, ILXAttribute>, EConfigElementKind::Attribute> {
public:
    explicit XLXTransientAttribute(XLXTextView name);

    /// Converts the value to the property's type; raises when that is impossible.
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override;
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE CreateFormat(int, ILXFormat** ppFormat) override { return LXNotOffered(ppFormat); }
    HRESULT STDMETHODCALLTYPE GetFormat(int, ILXFormat** ppFormat) override { return LXNotOffered(ppFormat); }
    HRESULT STDMETHODCALLTYPE DeleteFormat(int) override { return E_NOTIMPL; }
};

#endif

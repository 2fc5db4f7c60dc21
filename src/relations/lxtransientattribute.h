// SPDX-License-Identifier: MIT
#ifndef LXTRANSIENTATTRIBUTE_H
#define LXTRANSIENTATTRIBUTE_H

#include "XLXTransientObject.h"
#include "XLeafMutex.h"

/// An attribute without a server object. Its references are counted, since it is made for its caller.
class XLXTransientAttribute final
    : public XLXTransientObject<XUnknown<XLXTransientAttribute, ILXAttribute>, EConfigElementKind::Attribute> {
public:
    explicit XLXTransientAttribute(XLXTextView name);

    HRESULT STDMETHODCALLTYPE GetProperty(int iLXCF_Member, VARIANT* pvarValue) override;
    /// Converts the value to the property's type; one that cannot be converted is refused.
    HRESULT STDMETHODCALLTYPE SetProperty(int iLXCF_Member, VARIANT varValue) override;
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** ppAttributeType) override {
        return LXNotOffered(ppAttributeType);
    }
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** ppAttributeTypeEnum) override {
        return LXNotOffered(ppAttributeTypeEnum);
    }
    HRESULT STDMETHODCALLTYPE CreateFormat(int, ILXFormat** ppFormat) override { return LXNotOffered(ppFormat); }
    HRESULT STDMETHODCALLTYPE GetFormat(int, ILXFormat** ppFormat) override { return LXNotOffered(ppFormat); }
    HRESULT STDMETHODCALLTYPE DeleteFormat(int) override { return E_NOTIMPL; }

private:
    XLeafMutex m_mutex;        // guards the values
    XLXVariantVector m_values; // in the order of the property table
};

#endif

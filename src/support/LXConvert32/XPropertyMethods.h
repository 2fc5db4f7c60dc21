// SPDX-License-Identifier: MIT
#ifndef XPROPERTYMETHODS_H
#define XPROPERTYMETHODS_H

#include "XCfgPropertyConvert.h"
#include "XLXComPtr.h"

/// The property methods that all configuration objects share. Get and Set translate the name to an index; the bulk
/// methods return E_NOTIMPL.
/// @tparam Base  has GetProperty and SetProperty
/// @tparam kind  determines the property names
template <class Base, EConfigElementKind kind> class XPropertyMethods : public Base {
public:
    HRESULT STDMETHODCALLTYPE Get(BSTR bstrKey, VARIANT* pvarValue) override {
        return this->GetProperty(XCfgPropertyConvert::Convert(kind, bstrKey), pvarValue);
    }
    HRESULT STDMETHODCALLTYPE Set(BSTR bstrKey, VARIANT varValue) override {
        return this->SetProperty(XCfgPropertyConvert::Convert(kind, bstrKey), varValue);
    }
    HRESULT STDMETHODCALLTYPE Gets(SAFEARRAY*, SAFEARRAY** psaValues) override { return LXNotOffered(psaValues); }
    HRESULT STDMETHODCALLTYPE Sets(SAFEARRAY*, SAFEARRAY** psaValues) override { return LXNotOffered(psaValues); }
    HRESULT STDMETHODCALLTYPE GetProperties(SAFEARRAY** psaValues) override { return LXNotOffered(psaValues); }
    HRESULT STDMETHODCALLTYPE SetProperties(SAFEARRAY*, SAFEARRAY** psaValues) override {
        return LXNotOffered(psaValues);
    }

protected:
    XPropertyMethods() noexcept = default;
    ~XPropertyMethods() = default;
};

#endif

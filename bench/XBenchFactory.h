// SPDX-License-Identifier: MIT
//
// A config factory that answers bulk reads with prepared arrays, so that only the cache's share of a load is measured.
// It forwards all other calls to the sample server's factory.
//
// Threading  Not thread-safe.
#ifndef XBENCHFACTORY_H
#define XBENCHFACTORY_H

#include "XLXComPtr.h"
#include "XLXSafeArray.h"

#include <atomic>
#include <vector>

class XBenchFactory final : public ILXConfigFactory, public ILXConfigFactoryEx {
public:
    explicit XBenchFactory(XLXComPtr<ILXConfigFactory> server);

    /// Prepares the arrays for `loads` loads of all types and of the relations. The cache owns the arrays that it
    /// gets.
    void Prepare(LONG mode, int loads);
    /// The number of elements of the array of all types, including sub-arrays, which are flattened into it.
    ULONG TypeElements() const;
    /// Another copy of the array of all types.
    XLXSafeArray CopyOfTypes() const;
    /// Drops the master copies, which a user of the cache would not have in memory.
    void DropMasters();

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return m_references.fetch_add(1) + 1; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP AddType(ILXType** ppType) override { return m_server->AddType(ppType); }
    STDMETHODIMP RemoveType(ILXType* pType, LONG* plResult) override { return m_server->RemoveType(pType, plResult); }
    STDMETHODIMP GetTypeEnum(BSTR bstrConfigName, ILXTypeEnum** ppEnum) override {
        return m_server->GetTypeEnum(bstrConfigName, ppEnum);
    }
    STDMETHODIMP GetSearchableTypeEnum(ILXTypeEnum** ppEnum) override {
        return m_server->GetSearchableTypeEnum(ppEnum);
    }
    STDMETHODIMP GetPlanTypeEnum(BSTR, ILXTypeEnum**) override { return E_NOTIMPL; }
    STDMETHODIMP GetType(BSTR bstrTypename, BSTR bstrConfigName, ILXType** ppType) override {
        return m_server->GetType(bstrTypename, bstrConfigName, ppType);
    }
    STDMETHODIMP AddParentChild(ILXParentChild**) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveParentChild(ILXParentChild*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetParentChildEnum(BSTR bstrTypename, BSTR bstrConfigName, ILXParentChildEnum** ppEnum) override {
        return m_server->GetParentChildEnum(bstrTypename, bstrConfigName, ppEnum);
    }
    STDMETHODIMP AddBrowserId(BSTR, ILXBrowserId**) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveBrowserId(ILXBrowserId*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) override { return m_server->GetBrowserIdEnum(ppEnum); }
    STDMETHODIMP DeleteDatabase() override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeArray(LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeArrayByTypeName(BSTR, LONG, LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeArrayByTypeNameArray(SAFEARRAY*, LONG, LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP GetPCArray(SAFEARRAY** psaRelations) override;
    STDMETHODIMP GetVersion(BSTR* pbstrVersion) override { return m_server->GetVersion(pbstrVersion); }
    STDMETHODIMP SetVersion(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec**) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) override {
        return m_server->GetAllGlobalAttributeFormatSpecs(ppEnum);
    }
    STDMETHODIMP RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec*) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveGlobalAttributeFormatSpecByID(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP NotifyServerTermination() override { return S_OK; }

    STDMETHODIMP GetTypeArrayEx(LONG lMode, SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetTypeArrayByTypeNameEx(BSTR, LONG, LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeArrayByTypeNameArrayEx(SAFEARRAY*, LONG, LONG, SAFEARRAY**) override { return E_NOTIMPL; }

private:
    std::atomic<ULONG> m_references{0};
    const XLXComPtr<ILXConfigFactory> m_server;
    LONG m_mode = -1;
    XLXSafeArray m_types;
    XLXSafeArray m_relations;
    std::vector<XLXSafeArray> m_nextTypes;
    std::vector<XLXSafeArray> m_nextRelations;
};

#endif

// SPDX-License-Identifier: MIT
//
// The server's config factory with its bulk reads. Each server has at most one at a time. It supports ILXCallbackUpdate
// only if a test has enabled it.
#ifndef XSERVERCONFIGFACTORY_H
#define XSERVERCONFIGFACTORY_H

#include "XBulkData.h"

class XServerConfigFactory final : public XServerObject<ILXConfigFactory, ILXConfigFactoryEx, ILXCallbackUpdate> {
public:
    explicit XServerConfigFactory(XServerCorePtr core) noexcept : XServerObject(std::move(core)) {}
    ~XServerConfigFactory() override;

    STDMETHODIMP AddType(ILXType** ppType) override;
    STDMETHODIMP RemoveType(ILXType* pType, LONG* plResult) override;
    STDMETHODIMP GetTypeEnum(BSTR bstrConfigName, ILXTypeEnum** ppEnum) override;
    STDMETHODIMP GetSearchableTypeEnum(ILXTypeEnum** ppEnum) override;
    STDMETHODIMP GetPlanTypeEnum(BSTR, ILXTypeEnum** ppEnum) override { return Refuse("GetPlanTypeEnum", ppEnum); }
    STDMETHODIMP GetType(BSTR bstrTypename, BSTR bstrConfigName, ILXType** ppType) override;
    STDMETHODIMP AddParentChild(ILXParentChild** ppParentChild) override;
    STDMETHODIMP RemoveParentChild(ILXParentChild* pParentChild, LONG* plResult) override;
    STDMETHODIMP GetParentChildEnum(BSTR bstrTypename, BSTR bstrConfigName, ILXParentChildEnum** ppEnum) override;
    STDMETHODIMP AddBrowserId(BSTR bstrBrowserId, ILXBrowserId** ppBrowserId) override;
    STDMETHODIMP RemoveBrowserId(ILXBrowserId* pBrowserId, LONG* plResult) override;
    STDMETHODIMP GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) override;
    STDMETHODIMP DeleteDatabase() override { return Refuse("DeleteDatabase"); }
    STDMETHODIMP GetTypeArray(LONG bIncludeTypeAttributes, SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetTypeArrayByTypeName(BSTR bstrTypename, LONG bIncludeBases, LONG bIncludeTypeAttributes,
                                        SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetTypeArrayByTypeNameArray(SAFEARRAY* saTypenames, LONG bIncludeBases, LONG bIncludeTypeAttributes,
                                             SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetPCArray(SAFEARRAY** psaRelations) override;
    STDMETHODIMP GetVersion(BSTR* pbstrVersion) override;
    STDMETHODIMP SetVersion(BSTR bstrVersion) override;
    STDMETHODIMP CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec** ppSpec) override;
    STDMETHODIMP GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) override;
    STDMETHODIMP
    RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec) override;
    STDMETHODIMP RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID) override;
    STDMETHODIMP NotifyServerTermination() override;

    STDMETHODIMP GetTypeArrayEx(LONG lMode, SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetTypeArrayByTypeNameEx(BSTR bstrTypename, LONG bIncludeBases, LONG lMode,
                                          SAFEARRAY** psaTypes) override;
    STDMETHODIMP GetTypeArrayByTypeNameArrayEx(SAFEARRAY* saTypenames, LONG bIncludeBases, LONG lMode,
                                               SAFEARRAY** psaTypes) override;

    STDMETHODIMP CheckCallbackValid() override;
    STDMETHODIMP ServerIsTerminating() override;
    STDMETHODIMP SetCallbackId(LONG lClientId) override;
    STDMETHODIMP GetClientInfo(tagLXClientInfo* pClientInfo) override;
    STDMETHODIMP DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG ulNotificationType, ULONG ulNotificationId,
                                   ULONG ulCount, tagLXUpdateInfo* pLXUpdateInfo) override;

protected:
    void* Face(REFIID iid) noexcept override;

private:
    HRESULT ListTypes(std::string_view method, bool searchableOnly, ILXTypeEnum** out);
    HRESULT GiveTypes(const std::optional<std::vector<XLXText>>& names, LONG withBases, LONG mode, SAFEARRAY** out);
    HRESULT GiveOneType(BSTR name, LONG withBases, LONG mode, SAFEARRAY** out);
    HRESULT GiveNamedTypes(SAFEARRAY* names, LONG withBases, LONG mode, SAFEARRAY** out);
};

#endif

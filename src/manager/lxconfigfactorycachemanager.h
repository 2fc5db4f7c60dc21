// SPDX-License-Identifier: MIT
//
// XLXConfigFactoryCacheManager: the one creatable object of the component. It is one class with six interfaces; small
// classes hold its state, and each concern has a source file.
//
// Ownership  Between initialisation and Terminate the manager has a connection, which holds the server's interfaces
//            and a reference to the manager's own callback. Without Terminate, that reference and the server's keep
//            the manager alive.
// Threading  Any thread may call. The leaf mutex guards the connection; interfaces are copied out of it and called
//            with no lock held. Notifications wait neither for fills nor for an initialisation.
#ifndef LXCONFIGFACTORYCACHEMANAGER_H
#define LXCONFIGFACTORYCACHEMANAGER_H

#include "XBrowserRegistry.h"
#include "XConnection.h"
#include "XGlobalSpecs.h"
#include "XPCInfos.h"
#include "XPlanTypes.h"
#include "XRelationQueries.h"
#include "XTypeInheritanceInfo.h"
#include "XUnknown.h"
#include "xlxcfcmngimpl.h"

#include <array>
#include <span>

class XLXConfigFactoryCacheManager final
    : public XRelationQueries<XUnknown<XLXConfigFactoryCacheManager, ILXConfigFactoryCache, ILXConfigFactory,
                                       IDPFObject, ILXCallbackUpdate, ILXServerEntryPoint, XRelationHost>>,
      public XConnectionOwner {
public:
    XLXConfigFactoryCacheManager() { XModuleCount::Lock(); }
    ~XLXConfigFactoryCacheManager();

    // IUnknown
    static HRESULT RefuseNullFace() noexcept {
        return XLXError::RefusePointer(OLESTR("ppv"), LXManagerAt("QueryInterface"));
    }
    /// QueryInterface for ILXCallback returns ILXCallbackUpdate, which derives from it.
    void* FindFace(REFIID iid) noexcept {
        return XUnknown::FindFace(IsEqualIID(iid, LXIid<ILXCallback>()) ? LXIid<ILXCallbackUpdate>() : iid);
    }

    // Lifecycle
    HRESULT STDMETHODCALLTYPE Initialize(ILXConfigFactory* own, ILX_Query* query, ILXDataUpdate* update) override;
    HRESULT STDMETHODCALLTYPE Initialize(ULONG count, VARIANT* values) override;
    HRESULT STDMETHODCALLTYPE InitializeNamed(ULONG count, tagLXNamedValue* values) override;
    HRESULT STDMETHODCALLTYPE Terminate() override;
    HRESULT STDMETHODCALLTYPE AttachHostObjects(IUnknown* pHostObjectA, IUnknown* pHostObjectB) override;
    HRESULT STDMETHODCALLTYPE NotifyHostObject(IUnknown*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE NotifyHostObjectPair(IUnknown*, IUnknown*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE NotifyHostObjectLong(IUnknown*, LONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetEntryFlags(LONG* plFlagA, LONG* plFlagB) override;
    HRESULT STDMETHODCALLTYPE SetEntryLong(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetEntryObject(IUnknown** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE GetEntryObjectByLong(LONG, IUnknown** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE SetEntryObject(IUnknown*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ReleaseEntry() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetInvalid() override {
        m_lInvalid.store(true);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsValid(LONG* pbValid) override {
        return AnswerNumber("IsValid", OLESTR("pbValid"), pbValid, m_lInvalid.load() ? 0 : 1);
    }
    HRESULT STDMETHODCALLTYPE SetCFCDataTransferMode(LONG lDataTransferMode) override {
        m_transferMode->Set(lDataTransferMode);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetCFCDataTransferMode(LONG* plDataTransferMode) override {
        return AnswerNumber("GetCFCDataTransferMode", OLESTR("plDataTransferMode"), plDataTransferMode,
                            m_transferMode->Get());
    }
    HRESULT STDMETHODCALLTYPE GetRealConfigFactory(ILXConfigFactory** ppConfigFactory) override;
    HRESULT STDMETHODCALLTYPE NotifyServerTermination() override;

    // Callback
    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG lClientId) override;
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo* pClientInfo) override {
        return XLXError::Guarded(LXManagerAt("GetClientInfo"), [&] {
            return LXGetClientInfo(pClientInfo, "XLXConfigFactoryCacheManager", LXManagerAt("GetClientInfo"));
        });
    }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                                tagLXUpdateInfo* info) override;

    // Types
    HRESULT STDMETHODCALLTYPE GetCachedType(ILX_BaseDataObject* pObject, BSTR, ILXType** ppType) override;
    HRESULT STDMETHODCALLTYPE GetType(BSTR bstrTypename, BSTR bstrConfigName, ILXType** ppType) override;
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum** ppEnum) override {
        return EnumerateTypes("GetTypeEnum", false, ppEnum);
    }
    HRESULT STDMETHODCALLTYPE GetSearchableTypeEnum(ILXTypeEnum** ppEnum) override {
        return EnumerateTypes("GetSearchableTypeEnum", true, ppEnum);
    }
    HRESULT STDMETHODCALLTYPE LoadTypesByTypeNames(LONG count, BSTR* names, LONG withAttributes) override;
    HRESULT STDMETHODCALLTYPE AddType(ILXType** ppType) override;
    // Deprecated
    HRESULT STDMETHODCALLTYPE GetTransientAttribute(ILXAttribute** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE IsPlantype(ILX_BaseDataObject* pObject) override;
    HRESULT STDMETHODCALLTYPE CheckTypeDerivesFrom(BSTR name, LONG count, BSTR* bases, LONG* answers) override;
    HRESULT STDMETHODCALLTYPE GetAllDerivedTypes(BSTR typeName, LONG* count, BSTR** names) override {
        return ListDerivedTypes("GetAllDerivedTypes", typeName, false, count, names);
    }
    HRESULT STDMETHODCALLTYPE GetDerivedTypesForQuery(BSTR typeName, LONG* count, BSTR** names) override {
        return ListDerivedTypes("GetDerivedTypesForQuery", typeName, true, count, names);
    }

    // Registries
    HRESULT STDMETHODCALLTYPE GetBrowserIdEnum(ILXBrowserIdEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** ppEnum) override;
    HRESULT STDMETHODCALLTYPE
    RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec* piGlobalAttributeFormatSpec) override;
    HRESULT STDMETHODCALLTYPE RemoveGlobalAttributeFormatSpecByID(BSTR bstrAttributeProperyID) override;
    HRESULT STDMETHODCALLTYPE CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec** ppSpec) override;

    // Forwarded to the server, or refused
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* pbstrVersion) override;
    HRESULT STDMETHODCALLTYPE RemoveType(ILXType*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPlanTypeEnum(BSTR, ILXTypeEnum** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE AddParentChild(ILXParentChild** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE RemoveParentChild(ILXParentChild*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddBrowserId(BSTR, ILXBrowserId** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE RemoveBrowserId(ILXBrowserId*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteDatabase() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeArray(LONG, SAFEARRAY** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeName(BSTR, LONG, LONG, SAFEARRAY** out) override {
        return LXNotOffered(out);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArray(SAFEARRAY*, LONG, LONG, SAFEARRAY** out) override {
        return LXNotOffered(out);
    }
    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY** out) override { return LXNotOffered(out); }
    HRESULT STDMETHODCALLTYPE SetVersion(BSTR) override { return E_NOTIMPL; }

    // For the strategies, the relation manager and the registries

    /// The server's config factory; raises E_POINTER if there is none.
    XLXComPtr<ILXConfigFactory> ConfigFactory(const char* method) const { return Access(method)->configFactory; }
    XTypeMap& Types() noexcept { return m_types; }
    XTransferModeSupplier& TransferMode() noexcept { return *m_transferMode; }
    /// Adds types of the server to the type map. Returns the map to answer from.
    XTypeMapPtr EnterTypes(XTypeRecords& records, const XTypeMap::Request& requested, bool isWhole);

    // XRelationHost
    XLXComPtr<ILXConfigFactory> ConfigFactoryOf(const XClockPtr& clock, const char* method) const override;
    HRESULT InternalGetPCInfoEnum(ILXPCInfoEnum** ppEnum, bool newRelations) override;
    HRESULT InternalGetPCInfo(XLXTextView browserId, ILXPCInfo** ppPCInfo, bool newRelations) override;
    std::vector<PlanTypeRelation> InternalGetPlantypeRelations(XLXTextView parentType) override {
        return m_planTypes.RelationsOf(parentType);
    }
    std::vector<XLXText> BaseTypeNames(XLXTextView typeName) override;
    bool TryAddRef() noexcept override { return TryAddReference(); }
    const XWeakLink<XPCInfoRegistry>& PCInfoLink() const noexcept override { return m_pcInfoLink; }

    /// Reads all types unless they are fresh. Returns the map to answer from, and S_FALSE if the server has nothing.
    std::pair<XTypeMapPtr, HRESULT> InternalFillTypeMap();
    /// Answers every query for one type by its name.
    HRESULT InternalLoadType(XLXTextView name, ILXType** ppType);

private:
    struct InitArguments;

    template <class Impl> void InstallImpl();
    HRESULT Init(const InitArguments& arguments);
    XConnectionPtr Begin(const InitArguments& arguments);
    void RegisterCallback(XConnection& connection, ILXDataUpdate* update, bool separateCallback);
    void Unregister(XConnection& connection) noexcept;
    void CreateRelationManager(XConnection& connection);
    XTypeHostPtr MakeTypeHost(const XClockPtr& clock) const;
    /// The server's type of that name; null if there is none or the connection with that clock is over.
    XLXComPtr<ILXType> ServerType(const XClockPtr& clock, XLXTextView name) const;
    XRefillPtr MakeRelationsRefill(const XClockPtr& clock) const;
    /// Supplies the connection's config factory to objects that may outlive the connection.
    XFactorySourcePtr MakeFactorySource(const XClockPtr& clock) const;
    void EmptyCaches(const XClockPtr& clock) noexcept;

    HRESULT ForwardToServer(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count, tagLXUpdateInfo* info) const;

    XPCInfos& PCInfos(bool newRelations) noexcept { return newRelations ? m_pcInfosNew : m_pcInfos; }
    HRESULT EnumerateTypes(const char* method, bool searchableOnly, ILXTypeEnum** ppEnum);
    static HRESULT AnswerNumber(const char* method, const OLECHAR* name, LONG* out, LONG number);
    /// The strategy of the manager's mode; raises E_POINTER before the first initialisation.
    XLXCFCMngImpl& Impl(const char* method) const;

    /// The inheritance between types; fills the type map first.
    XTypeInheritanceInfo::InfoPtr Inheritance();
    HRESULT ListDerivedTypes(const char* method, BSTR typeName, bool withItself, LONG* count, BSTR** names);

    std::shared_ptr<XLXPCPartCacheMng> RelationManager(const char* method) const override;

    std::shared_ptr<XTransferModeSupplier> m_transferMode = std::make_shared<XTransferModeSupplier>();
    XTypeMap m_types{m_transferMode};
    XTypeInheritanceInfo m_inheritance{m_types};
    XBrowserRegistry m_browsers{*this, XLockLevel::BrowserIds};
    XPCInfos m_pcInfos{*this, m_browsers, XLockLevel::PCInfos, false};
    XPCInfos m_pcInfosNew{*this, m_browsers, XLockLevel::PCInfosNew, true};
    XPlanTypes m_planTypes{*this, XLockLevel::PlanTypes, XAspect::PlanTypes};
    XGlobalSpecs m_globalSpecs{*this, XLockLevel::GlobalSpecs, XAspect::Specs};
    XWeakLink<XPCInfoRegistry> m_pcInfoLink = XWeakLink<XPCInfoRegistry>::To(this);
    XWeakLink<XLXConfigFactoryCacheManager> m_selfLink = XWeakLink<XLXConfigFactoryCacheManager>::To(this);
    const std::shared_ptr<XCallCosts> m_costs = std::make_shared<XCallCosts>();

    XFillMutex m_init; // serialises Init and Terminate; never taken by notifications

    using HostObjects = std::array<XLXComPtr<IUnknown>, 2>;
    HostObjects m_hostObjects; // guarded by m_mutex, like the connection

    std::atomic<XLXCFCMngImpl*> m_pImpl{nullptr}; // installed once
    std::atomic<bool> m_lInvalid{false};
    std::atomic<bool> m_lServerTerminated{false};
};

#endif

// SPDX-License-Identifier: MIT
//
// Data objects (including relationship objects), queries, and the notification service.
#ifndef XSERVERDATA_H
#define XSERVERDATA_H

#include "XDataObjectRefusals.h"
#include "XQueryRefusals.h"

/// A data object; a relationship object also supports ILXRelation. Each element of the model has at most one object at
/// a time, so that clients can compare objects.
class XServerDataObject final : public XDataObjectRefusals<ILXRelation> {
public:
    using Elements = std::vector<std::shared_ptr<XModelDataObject>>;

    XServerDataObject(XServerCorePtr core, std::shared_ptr<XModelDataObject> object) noexcept
        : XDataObjectRefusals(std::move(core)), m_object(std::move(object)) {}
    ~XServerDataObject() override { Core().Forget(m_object.get(), this); }

    /// The object for an element of the model.
    static XLXComPtr<XServerDataObject> For(const XServerCorePtr& core, std::shared_ptr<XModelDataObject> object);
    /// The objects for elements of the model. Call it without the model's lock.
    static std::vector<XLXComPtr<ILX_BaseDataObject>> ForAll(const XServerCorePtr& core, const Elements& elements);
    /// The object with this id; null if the model has none.
    static XLXComPtr<XServerDataObject> Find(const XServerCorePtr& core, XLXTextView id);

    STDMETHODIMP GetTableName(BSTR* pbstrTable) override;
    STDMETHODIMP GetTypeName(BSTR* pbstrTypename) override;
    STDMETHODIMP GetAttribute(BSTR bstrName, VARIANT* pvarValue) override;
    STDMETHODIMP SetAttribute(BSTR bstrName, VARIANT varValue) override;
    STDMETHODIMP GetChildren(BSTR bstrType, IEnumBaseDataObject** ppChildren) override;
    STDMETHODIMP GetAllChildren(IEnumBaseDataObject** ppChildren) override;
    STDMETHODIMP GetListCount(BSTR bstrList, LONG* plCount) override;
    STDMETHODIMP GetType(ILXType** ppType) override;
    STDMETHODIMP GetId(BSTR* pbstrId) override;
    STDMETHODIMP GetClientId(LONG* plClientId) override;
    STDMETHODIMP IsDerivedFromType(BSTR bstrTypename) override;
    STDMETHODIMP IsDerivedFromType2(BSTR bstrTypename, LONG* pbDerived) override;
    STDMETHODIMP GetRelatedObject(ILX_BaseDataObject* pObject, ILX_BaseDataObject** ppOther) override;

protected:
    void* Face(REFIID iid) noexcept override;

private:
    std::optional<XLXComVariant> EndAttribute(XLXTextView name) const;
    bool Derives(XLXTextView typeName) const;
    HRESULT GiveText(std::string_view method, XLXText XModelDataObject::*text, BSTR* out);

    const std::shared_ptr<XModelDataObject> m_object; // its content is guarded by the model's lock
};

/// A query; for one thread at a time.
class XServerQuery final : public XQueryRefusals<> {
public:
    using XQueryRefusals::XQueryRefusals;
    explicit XServerQuery(XServerCorePtr core) noexcept : XQueryRefusals(std::move(core)) {}

    STDMETHODIMP SetSearchTable(BSTR bstrTable) override;
    STDMETHODIMP SetSearchAttribute(BSTR bstrAttribute, LONG lOperator, VARIANT varCriterion,
                                    LONG lCatenation) override;
    STDMETHODIMP GetSearchResult(IEnumBaseDataObject** ppObjects) override;
    STDMETHODIMP ResetSearch(LONG bOnlyWhereClause) override;
    STDMETHODIMP GetObjectById(BSTR bstrId, ILX_BaseDataObject** ppObject) override;

private:
    bool Fulfils(const XServerModel& model, const XModelDataObject& object) const;

    XLXText m_table;
    std::map<XLXText, XModelValue> m_criteria;
};

/// The notification service. Each server has at most one at a time.
class XServerDataUpdate final : public XServerObject<ILXDataUpdate> {
public:
    explicit XServerDataUpdate(XServerCorePtr core) noexcept : XServerObject(std::move(core)) {}
    ~XServerDataUpdate() override { Core().Forget(&Core().dataUpdateKey, this); }

    STDMETHODIMP UnregisterCallback(LONG lClientId) override;
    STDMETHODIMP EnableAdvicesDataObject(LONG, BSTR, BSTR, LONG, ULONG) override {
        return Refuse("EnableAdvicesDataObject");
    }
    STDMETHODIMP EnableAdvicesDataObjects(LONG, ULONG, tagLXNotifications*) override {
        return Refuse("EnableAdvicesDataObjects");
    }
    STDMETHODIMP EnableAdvicesDataType(LONG lClientId, BSTR bstrDataType, LONG bEnable,
                                       ULONG ulAdvicesDesired) override;
    STDMETHODIMP DataObjectChanged(LONG lClientId, BSTR bstrDataID, BSTR bstrDataType, ULONG ulChangeType,
                                   ULONG ulCount, tagLXUpdateInfo* pUpdateInfo) override;
    STDMETHODIMP DataObjectsChanged(LONG, ULONG, tagLXDataUpdateChanges*) override {
        return Refuse("DataObjectsChanged");
    }
    STDMETHODIMP RegisterCallback(BSTR bstrComputerName, ULONG ulProcessID, ILXCallbackUpdate* piDataUpdateCallback,
                                  LONG* plClientId) override;
    STDMETHODIMP IsNotificationRegisteredByClient(LONG lClientId, BSTR bstrDataID, BSTR bstrDataType,
                                                  ULONG ulChangeType) override;
};

#endif

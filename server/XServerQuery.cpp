// SPDX-License-Identifier: MIT
//
// Queries and the notification service.
#include "XServerData.h"

#include "XServerEnum.h"

HRESULT XServerQuery::SetSearchTable(BSTR bstrTable) {
    return Call("SetSearchTable", [&] {
        m_table = LXBstrView(bstrTable);
        return S_OK;
    });
}

HRESULT XServerQuery::SetSearchAttribute(BSTR bstrAttribute, LONG lOperator, VARIANT varCriterion, LONG lCatenation) {
    return Call("SetSearchAttribute", [&] {
        if (lOperator != 0 || lCatenation != 0) { return E_NOTIMPL; }
        m_criteria[XLXText(LXBstrView(bstrAttribute))] = XModelValue::FromVariant(varCriterion);
        return S_OK;
    });
}

/// An object is in its own table and in those of its type and base types. Without a table nothing is found.
bool XServerQuery::Fulfils(const XServerModel& model, const XModelDataObject& object) const {
    if (m_table.empty()) { return false; }
    if (object.table != m_table && object.typeName != m_table && !model.Derives(object.typeName, m_table)) {
        return false;
    }
    return std::all_of(m_criteria.begin(), m_criteria.end(), [&object](const auto& criterion) {
        const auto found = object.attributes.find(criterion.first);
        return found != object.attributes.end() && found->second == criterion.second;
    });
}

HRESULT XServerQuery::GetSearchResult(IEnumBaseDataObject** ppObjects) {
    return Call(
        "GetSearchResult",
        [&] {
            const auto found = Core().Read([this](const XServerModel& model) {
                XServerDataObject::Elements elements;
                for (const auto& [id, object] : model.objects) {
                    if (Fulfils(model, *object)) { elements.push_back(object.Share()); }
                }
                return elements;
            });
            return LXHandOut(SharedCore(), XServerDataObject::ForAll(SharedCore(), found), ppObjects);
        },
        ppObjects);
}

HRESULT XServerQuery::ResetSearch(LONG bOnlyWhereClause) {
    return Call("ResetSearch", [&] {
        m_criteria.clear();
        if (bOnlyWhereClause == 0) { m_table.clear(); }
        return S_OK;
    });
}

HRESULT XServerQuery::GetObjectById(BSTR bstrId, ILX_BaseDataObject** ppObject) {
    return Call(
        "GetObjectById",
        [&] {
            *ppObject = XServerDataObject::Find(SharedCore(), LXBstrView(bstrId)).Detach();
            return *ppObject != nullptr ? S_OK : S_FALSE;
        },
        ppObject);
}

HRESULT XServerDataUpdate::RegisterCallback(BSTR bstrComputerName, ULONG ulProcessID,
                                            ILXCallbackUpdate* piDataUpdateCallback, LONG* plClientId) {
    return Call(
        "RegisterCallback",
        [&]() -> HRESULT {
            if (piDataUpdateCallback == nullptr) { return E_POINTER; }
            *plClientId = Core().Notifier().Register(piDataUpdateCallback, LXBstrView(bstrComputerName), ulProcessID);
            return S_OK;
        },
        plClientId);
}

HRESULT XServerDataUpdate::UnregisterCallback(LONG lClientId) {
    return Call("UnregisterCallback", [&] { return Core().Notifier().Unregister(lClientId) ? S_OK : E_INVALIDARG; });
}

HRESULT XServerDataUpdate::EnableAdvicesDataType(LONG lClientId, BSTR bstrDataType, LONG bEnable,
                                                 ULONG ulAdvicesDesired) {
    return Call("EnableAdvicesDataType", [&] {
        const bool known =
            Core().Notifier().Enable(lClientId, LXBstrView(bstrDataType), bEnable != 0, ulAdvicesDesired);
        return known ? S_OK : E_INVALIDARG;
    });
}

HRESULT XServerDataUpdate::DataObjectChanged(LONG lClientId, BSTR bstrDataID, BSTR bstrDataType, ULONG, ULONG,
                                             tagLXUpdateInfo*) {
    return Call("DataObjectChanged", [&] {
        Core().Notifier().Send(LXBstrView(bstrDataID), LXBstrView(bstrDataType), 0, XNotify::Here, lClientId);
        return S_OK;
    });
}

HRESULT XServerDataUpdate::IsNotificationRegisteredByClient(LONG lClientId, BSTR, BSTR bstrDataType, ULONG) {
    return Call("IsNotificationRegisteredByClient",
                [&] { return Core().Notifier().IsEnabled(lClientId, LXBstrView(bstrDataType)) ? S_OK : S_FALSE; });
}

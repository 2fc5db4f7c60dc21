// SPDX-License-Identifier: MIT
//
// The methods of a query that the sample server does not offer: nothing of the cache calls them.
#ifndef XQUERYREFUSALS_H
#define XQUERYREFUSALS_H

#include "XServerObject.h"

template <class... Others>
class XQueryRefusals : public XServerObject<ILX_Query, Others...> {
public:
    using XServerObject<ILX_Query, Others...>::XServerObject;

    STDMETHODIMP SetQueryMode(tagSEARCHMODE) override { return this->Refuse("SetQueryMode"); }
    STDMETHODIMP EnableEnhancedQuery(LONG) override { return this->Refuse("EnableEnhancedQuery"); }
    STDMETHODIMP SetSubQueryBackwards(LONG) override { return this->Refuse("SetSubQueryBackwards"); }
    STDMETHODIMP SetSearchCatenation(LONG) override { return this->Refuse("SetSearchCatenation"); }
    STDMETHODIMP GetSubQuery(ILX_Query** ppQuery) override { return this->Refuse("GetSubQuery", ppQuery); }
    STDMETHODIMP SetSubQuery(ILX_Query*) override { return this->Refuse("SetSubQuery"); }
    STDMETHODIMP GetSearchResultAsIdList(SAFEARRAY** psaIds) override {
        return this->Refuse("GetSearchResultAsIdList", psaIds);
    }
    STDMETHODIMP GetSearchResultAsIdListWithRights(LXRightType, SAFEARRAY** psaIds) override {
        return this->Refuse("GetSearchResultAsIdListWithRights", psaIds);
    }
    STDMETHODIMP GetSearchResultAttributes(BSTR, LONG* plCount, BSTR** pbstrValues) override {
        return this->Refuse("GetSearchResultAttributes", plCount, pbstrValues);
    }
    STDMETHODIMP SetOrderAttribute(BSTR, LONG) override { return this->Refuse("SetOrderAttribute"); }
    STDMETHODIMP GetObjectsById(SAFEARRAY*, IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("GetObjectsById", ppObjects);
    }
    STDMETHODIMP GetObjectByUUID(BSTR, ILX_BaseDataObject** ppObject) override {
        return this->Refuse("GetObjectByUUID", ppObject);
    }
    STDMETHODIMP FindInTrees(IEnumBaseDataObject*, IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("FindInTrees", ppObjects);
    }
    STDMETHODIMP GetFilteredSearchResultAsIdListWithRights(BSTR, LXRightType, SAFEARRAY** psaIds) override {
        return this->Refuse("GetFilteredSearchResultAsIdListWithRights", psaIds);
    }
    STDMETHODIMP SearchInTheMainTableOnly(LONG) override { return this->Refuse("SearchInTheMainTableOnly"); }
    STDMETHODIMP GetExtendedSearchResultAttributes(SAFEARRAY*, SAFEARRAY** psaValues) override {
        return this->Refuse("GetExtendedSearchResultAttributes", psaValues);
    }
};

#endif

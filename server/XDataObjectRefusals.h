// SPDX-License-Identifier: MIT
//
// The methods of a data object that the sample server does not offer: nothing of the cache calls them.
#ifndef XDATAOBJECTREFUSALS_H
#define XDATAOBJECTREFUSALS_H

#include "XServerObject.h"

template <class... Others>
class XDataObjectRefusals : public XServerObject<ILX_BaseDataObject, Others...> {
public:
    using XServerObject<ILX_BaseDataObject, Others...>::XServerObject;

    STDMETHODIMP Save() override { return this->Refuse("Save"); }
    STDMETHODIMP Delete(LXDeleteOptions) override { return this->Refuse("Delete"); }
    STDMETHODIMP DeleteObjects(IEnumBaseDataObject*, LXDeleteOptions) override { return this->Refuse("DeleteObjects"); }
    STDMETHODIMP Copy(ILX_BaseDataObject** ppCopy) override { return this->Refuse("Copy", ppCopy); }
    STDMETHODIMP CopyObjects(IEnumBaseDataObject*, IEnumBaseDataObject** ppCopies) override {
        return this->Refuse("CopyObjects", ppCopies);
    }
    STDMETHODIMP CopyObjects2(IEnumBaseDataObject*, LONG, IEnumBaseDataObject** ppCopies) override {
        return this->Refuse("CopyObjects2", ppCopies);
    }
    STDMETHODIMP CopyObjects3(IEnumBaseDataObject*, LONG, BSTR, IEnumBaseDataObject** ppCopies) override {
        return this->Refuse("CopyObjects3", ppCopies);
    }
    STDMETHODIMP FindUsage(IEnumBaseDataObject** ppObjects) override { return this->Refuse("FindUsage", ppObjects); }
    STDMETHODIMP FindCoderuleUsage(IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("FindCoderuleUsage", ppObjects);
    }
    STDMETHODIMP GetAttributes(SAFEARRAY*, SAFEARRAY** psaValues) override {
        return this->Refuse("GetAttributes", psaValues);
    }
    STDMETHODIMP GetAttributesEx(SAFEARRAY*, LONG, SAFEARRAY** psaValues) override {
        return this->Refuse("GetAttributesEx", psaValues);
    }
    STDMETHODIMP SetAttributes(SAFEARRAY*) override { return this->Refuse("SetAttributes"); }
    STDMETHODIMP AddChild(BSTR, ILX_BaseDataObject*) override { return this->Refuse("AddChild"); }
    STDMETHODIMP AddChildren(BSTR, IEnumBaseDataObject*) override { return this->Refuse("AddChildren"); }
    STDMETHODIMP RemoveChild(BSTR, ILX_BaseDataObject*) override { return this->Refuse("RemoveChild"); }
    STDMETHODIMP RemoveChildren(BSTR, IEnumBaseDataObject*) override { return this->Refuse("RemoveChildren"); }
    STDMETHODIMP GetChildrenSorted(BSTR, BSTR, IEnumBaseDataObject** ppChildren) override {
        return this->Refuse("GetChildrenSorted", ppChildren);
    }
    STDMETHODIMP GetChildrenWithinRange(BSTR, LONG, LONG, IEnumBaseDataObject** ppChildren) override {
        return this->Refuse("GetChildrenWithinRange", ppChildren);
    }
    STDMETHODIMP GetChildrenWithReadRights(BSTR, IEnumBaseDataObject** ppChildren) override {
        return this->Refuse("GetChildrenWithReadRights", ppChildren);
    }
    STDMETHODIMP GetChild(BSTR, BSTR, ILX_BaseDataObject** ppChild) override {
        return this->Refuse("GetChild", ppChild);
    }
    STDMETHODIMP NewChild(BSTR, BSTR, ILX_BaseDataObject** ppChild) override {
        return this->Refuse("NewChild", ppChild);
    }
    STDMETHODIMP CanCreateChild(BSTR, BSTR) override { return this->Refuse("CanCreateChild"); }
    STDMETHODIMP GetAllObjects(IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("GetAllObjects", ppObjects);
    }
    STDMETHODIMP CanDrag() override { return this->Refuse("CanDrag"); }
    STDMETHODIMP CanDrop(ILX_BaseDataObject*) override { return this->Refuse("CanDrop"); }
    STDMETHODIMP CanDropObjects(IEnumBaseDataObject*) override { return this->Refuse("CanDropObjects"); }
    STDMETHODIMP CommitTransaction() override { return this->Refuse("CommitTransaction"); }
    STDMETHODIMP RollbackTransaction() override { return this->Refuse("RollbackTransaction"); }
    STDMETHODIMP IsDerivedFromClass(BSTR) override { return this->Refuse("IsDerivedFromClass"); }
    STDMETHODIMP IsDerivedFromClass2(BSTR, LONG* pbDerived) override {
        return this->Refuse("IsDerivedFromClass2", pbDerived);
    }
    STDMETHODIMP ExecuteServerMethod(BSTR, VARIANT, VARIANT* pvarResult) override {
        return this->Refuse("ExecuteServerMethod", pvarResult);
    }
    STDMETHODIMP ExecuteServerMethodEx(BSTR, VARIANT, LONG, VARIANT* pvarResult) override {
        return this->Refuse("ExecuteServerMethodEx", pvarResult);
    }
    STDMETHODIMP GetObjectDependencies(IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("GetObjectDependencies", ppObjects);
    }
    STDMETHODIMP GetObjectsForExport(IEnumBaseDataObject** ppObjects) override {
        return this->Refuse("GetObjectsForExport", ppObjects);
    }
    STDMETHODIMP GetDisplayChildren(BSTR, IEnumBaseDataObject** ppChildren) override {
        return this->Refuse("GetDisplayChildren", ppChildren);
    }
    STDMETHODIMP CreateSupplierProject(BSTR, ILX_BaseDataObject** ppProject) override {
        return this->Refuse("CreateSupplierProject", ppProject);
    }
    STDMETHODIMP MergeSupplierProject(ILX_BaseDataObject*) override { return this->Refuse("MergeSupplierProject"); }
    STDMETHODIMP GetAttributeMultiLingual(BSTR, LONG, VARIANT* pvarValue) override {
        return this->Refuse("GetAttributeMultiLingual", pvarValue);
    }
    STDMETHODIMP SetAttributeMultiLingual(BSTR, LONG, VARIANT) override {
        return this->Refuse("SetAttributeMultiLingual");
    }
    STDMETHODIMP GetAttributesMultiLingual(SAFEARRAY*, LONG, SAFEARRAY** psaValues) override {
        return this->Refuse("GetAttributesMultiLingual", psaValues);
    }
    STDMETHODIMP SetAttributesMultiLingual(SAFEARRAY*, LONG) override {
        return this->Refuse("SetAttributesMultiLingual");
    }
};

#endif

// SPDX-License-Identifier: MIT
//
// The server's types. Pages, groups and editors are the type's own. Attribute look-ups, and the attributes of a group
// or a display, include inherited ones; a base's attribute wins. Only GetAttributeEnum lists just the type's own
// attributes.
#ifndef XSERVERTYPE_H
#define XSERVERTYPE_H

#include "XServerComponents.h"

class XServerType final : public XServerConfigObject<ILXType, XModelType> {
public:
    using XServerConfigObject::XServerConfigObject;

    STDMETHODIMP AddPage(ILXPage** ppPage) override;
    STDMETHODIMP RemovePage(ILXPage* pPage, LONG* plResult) override;
    STDMETHODIMP GetPageEnum(ILXPageEnum** ppEnum) override;
    STDMETHODIMP GetPage(int iPageNumber, ILXPage** ppPage) override;

    STDMETHODIMP AddGroup(ILXGroup** ppGroup) override;
    STDMETHODIMP RemoveGroup(ILXGroup* pGroup, LONG* plResult) override;
    STDMETHODIMP GetGroupEnum(ILXGroupEnum** ppEnum) override;
    STDMETHODIMP GetToplevelGroupEnum(ILXGroupEnum** ppEnum) override;
    STDMETHODIMP GetPageGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) override;
    STDMETHODIMP GetPageToplevelGroupEnum(int iPageNumber, ILXGroupEnum** ppEnum) override;
    STDMETHODIMP GetGroup(int iGroupNumber, ILXGroup** ppGroup) override;

    STDMETHODIMP GetDisplayAttributeEnum(LONG lMask, ILXAttributeEnum** ppEnum) override;
    STDMETHODIMP GetDisplayGroupAttributeEnum(LONG lMask, int iGroupNumber, ILXAttributeEnum** ppEnum) override;
    STDMETHODIMP AddAttribute(ILXAttribute** ppAttribute) override;
    STDMETHODIMP RemoveAttribute(ILXAttribute* pAttribute, LONG* plResult) override;
    STDMETHODIMP GetAttributeEnum(ILXAttributeEnum** ppEnum) override;
    STDMETHODIMP GetGroupAttributeEnum(int iGroupNumber, ILXAttributeEnum** ppEnum) override;
    STDMETHODIMP GetAttribute(BSTR bstrAttributeName, ILXAttribute** ppAttribute) override;

    STDMETHODIMP AddConfObjEditor(ILXConfObjEditor** ppEditor) override;
    STDMETHODIMP RemoveConfObjEditor(ILXConfObjEditor* pEditor, LONG* plResult) override;
    STDMETHODIMP GetConfObjEditorEnum(ILXConfObjEditorEnum** ppEnum) override;
    STDMETHODIMP GetConfObjEditor(BSTR bstrProgId, BSTR bstrBrowserId, BSTR bstrMenuText,
                                  ILXConfObjEditor** ppEditor) override;
    STDMETHODIMP GetDefaultEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) override;
    STDMETHODIMP Copy(BSTR) override { return Refuse("Copy"); }
    STDMETHODIMP GetDefaultNewEditor(BSTR bstrBrowserId, ILXConfObjEditor** ppEditor) override;
    STDMETHODIMP GetTypeComponentData(LONG lCFCDataTransferMode, SAFEARRAY** pDataArray) override;

private:
    using XAttributes = std::vector<XLXComPtr<ILXAttribute>>;

    template <class Test> HRESULT ListGroups(std::string_view method, ILXGroupEnum** out, Test&& takes);
    template <class Test> HRESULT ListAttributes(std::string_view method, ILXAttributeEnum** out, Test&& takes);
    HRESULT FindEditor(std::string_view method, BSTR browserId, int flagIndex, ILXConfObjEditor** out);
    template <class Object, class I, class T>
    HRESULT Add(std::string_view method, XModelList<T> XModelType::*list, int keyIndex, I** out);
    template <class T>
    HRESULT Remove(std::string_view method, XModelList<T> XModelType::*list, IUnknown* object, LONG* result);
    template <class Object, class I, class T, class... Owner>
    HRESULT GiveOne(const XModelRef<T>* element, I** out, const Owner&... owner);
};

/// Whether an attribute is shown in one of the displays of a mask for GetDisplayAttributeEnum. A mask without displays
/// includes every attribute.
bool LXShownIn(const XModelAttribute& attribute, LONG mask);

#endif

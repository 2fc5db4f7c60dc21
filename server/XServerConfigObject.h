// SPDX-License-Identifier: MIT
//
// The server's configuration objects: the eight methods of ILXConfigObject over an element of the model, as one
// template for all kinds. Changes through the interface change the model but send no notification.
#ifndef XSERVERCONFIGOBJECT_H
#define XSERVERCONFIGOBJECT_H

#include "XServerEnum.h"

template <class I, class T> class XServerConfigObject : public XServerObject<I, IXServerElement> {
public:
    using ElementPtr = std::shared_ptr<T>;

    XServerConfigObject(XServerCorePtr core, ElementPtr element) noexcept
        : XServerObject<I, IXServerElement>(std::move(core)), m_element(std::move(element)) {}

    const void* Element() const noexcept override { return m_element.get(); }

    STDMETHODIMP Get(BSTR bstrKey, VARIANT* pvarValue) override {
        return this->Call(
            "Get", [&] { return ReadValue(XPropertyTable::Of(Kind()).FindConfigName(LXBstrView(bstrKey)), pvarValue); },
            pvarValue);
    }

    STDMETHODIMP Set(BSTR bstrKey, VARIANT varValue) override {
        return this->Call("Set", [&] {
            return WriteValue(XPropertyTable::Of(Kind()).FindConfigName(LXBstrView(bstrKey)), varValue);
        });
    }

    STDMETHODIMP Gets(SAFEARRAY*, SAFEARRAY** psaValues) override { return this->Refuse("Gets", psaValues); }
    STDMETHODIMP Sets(SAFEARRAY*, SAFEARRAY** psaResults) override { return this->Refuse("Sets", psaResults); }

    STDMETHODIMP GetProperty(int iLXCF_Member, VARIANT* pvarValue) override {
        return this->Call(
            "GetProperty", [&] { return ReadValue(iLXCF_Member, pvarValue); }, pvarValue);
    }

    STDMETHODIMP SetProperty(int iLXCF_Member, VARIANT varValue) override {
        return this->Call("SetProperty", [&] { return WriteValue(iLXCF_Member, varValue); });
    }

    STDMETHODIMP GetProperties(SAFEARRAY** psaValues) override {
        return this->Call(
            "GetProperties",
            [&] {
                lx::FlatArray values;
                this->Core().Read([&](const XServerModel&) { m_element->properties.AppendTo(values); });
                *psaValues = values.Detach();
                return S_OK;
            },
            psaValues);
    }

    STDMETHODIMP SetProperties(SAFEARRAY*, SAFEARRAY** psaResults) override {
        return this->Refuse("SetProperties", psaResults);
    }

protected:
    const ElementPtr& SharedElement() const noexcept { return m_element; }

    void* Face(REFIID iid) noexcept override {
        return iid == LXIid<ILXConfigObject>() ? static_cast<ILXConfigObject*>(this)
                                               : XServerObject<I, IXServerElement>::Face(iid);
    }

private:
    XElementKind Kind() const noexcept { return m_element->properties.Kind(); } // never changes

    HRESULT ReadValue(int index, VARIANT* out) {
        this->Core().Read([&](const XServerModel&) { return m_element->Value(index).ToVariant(); }).DetachTo(out);
        return V_VT(out) == VT_EMPTY ? S_FALSE : S_OK;
    }

    HRESULT WriteValue(int index, const VARIANT& value) {
        this->Core().Change([&](XServerModel&) { m_element->properties.Set(index, XModelValue::FromVariant(value)); });
        return S_OK;
    }

    const ElementPtr m_element; // the element is guarded by the model's lock
};

/// Objects whose interface adds only a placeholder method.
template <class I, class T> class XServerPlainObject final : public XServerConfigObject<I, T> {
public:
    using XServerConfigObject<I, T>::XServerConfigObject;
    STDMETHODIMP dummy() override { return this->Refuse("dummy"); }
};

using XServerPage = XServerPlainObject<ILXPage, XModelPage>;
using XServerFormat = XServerPlainObject<ILXFormat, XModelFormat>;
using XServerEditor = XServerPlainObject<ILXConfObjEditor, XModelEditor>;
using XServerBrowserId = XServerPlainObject<ILXBrowserId, XModelBrowserId>;
using XServerPCInfo = XServerPlainObject<ILXPCInfo, XModelPCInfo>;
using XServerAttributeType = XServerPlainObject<ILXAttributeType, XModelAttributeType>;

/// An object for each element of a list that passes a test, in the list's order.
template <class Object, class I, class T, class F, class... Owner>
std::vector<XLXComPtr<I>> LXCollect(const XServerCorePtr& core, const XModelList<T>& list, F&& takes,
                                    const Owner&... owner) {
    std::vector<XLXComPtr<I>> objects;
    for (const XModelRef<T>& element : list) {
        if (takes(*element)) { objects.push_back(LXMake<Object>(core, element.Share(), owner...)); }
    }
    return objects;
}

/// Removes the element behind a client's object from a list; false if it is not in the list.
template <class T> bool LXRemove(XModelList<T>& list, const void* element) {
    return std::erase_if(list, [element](const XModelRef<T>& e) { return &*e == element; }) != 0;
}

inline constexpr auto LXTakesAll = [](const auto&) { return true; };

#endif

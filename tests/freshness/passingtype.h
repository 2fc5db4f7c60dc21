// SPDX-License-Identifier: MIT
//
// A server's type that delivers attributes without their objects, so that it is asked for each of them.
#ifndef PASSINGTYPE_H
#define PASSINGTYPE_H

#include "hostileserver.h"

class PassingType final : public PassingObject<ILXType>
{
public:
    using PassingObject::PassingObject;

    /// The types of a config factory, without components and each behind a PassingType.
    static HRESULT WrapTypes(ILXConfigFactory& inner, SAFEARRAY** out)
    {
        XLXSafeArray array;
        XLXComPtr<ILXConfigFactory>(&inner).As<ILXConfigFactoryEx>()->GetTypeArrayEx(0, array.Put());
        auto types = XLXCFCDataTransfer::GetMapFromArray(std::move(array));
        for (auto& [index, record] : types.records)
        {
            record.config.object = static_cast<ILXType*>(new PassingType(record.config.object.As<ILXType>()));
        }
        *out = XLXCFCDataTransfer::GetArrayFromMap(std::move(types)).Detach();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeComponentData(LONG mode, SAFEARRAY** out) override
    {
        XLXSafeArray array;
        const HRESULT result = m_inner->GetTypeComponentData(mode, array.Put());
        if (result != S_OK)
        {
            return result;
        }
        auto components = XLXCFCDataTransfer::GetWrapperFromArray(std::move(array));
        auto attributes = XLXCFCDataTransfer::ReadAttributeList(std::move(components.attributes));
        for (auto& attribute : attributes)
        {
            attribute.object.Reset();
        }
        components.attributes = XLXCFCDataTransfer::GetArrayFromAttributeList(std::move(attributes));
        *out = XLXCFCDataTransfer::GetArrayFromWrapper(std::move(components)).Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetAttribute(BSTR name, ILXAttribute** out) override
    {
        return m_inner->GetAttribute(name, out);
    }

    // What these tests do not ask for.
    HRESULT STDMETHODCALLTYPE AddPage(ILXPage**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemovePage(ILXPage*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageEnum(ILXPageEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPage(int, ILXPage**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddGroup(ILXGroup**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveGroup(ILXGroup*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroupEnum(ILXGroupEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetToplevelGroupEnum(ILXGroupEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageGroupEnum(int, ILXGroupEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageToplevelGroupEnum(int, ILXGroupEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroup(int, ILXGroup**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDisplayAttributeEnum(LONG, ILXAttributeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDisplayGroupAttributeEnum(LONG, int, ILXAttributeEnum**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE AddAttribute(ILXAttribute**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveAttribute(ILXAttribute*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAttributeEnum(ILXAttributeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroupAttributeEnum(int, ILXAttributeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddConfObjEditor(ILXConfObjEditor**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveConfObjEditor(ILXConfObjEditor*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConfObjEditorEnum(ILXConfObjEditorEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetConfObjEditor(BSTR, BSTR, BSTR, ILXConfObjEditor**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetDefaultEditor(BSTR, ILXConfObjEditor**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Copy(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDefaultNewEditor(BSTR, ILXConfObjEditor**) override { return E_NOTIMPL; }
};

#endif

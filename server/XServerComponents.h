// SPDX-License-Identifier: MIT
//
// The server's groups, attributes, global format specs and relations: configuration objects with child objects.
#ifndef XSERVERCOMPONENTS_H
#define XSERVERCOMPONENTS_H

#include "XServerConfigObject.h"

/// The format operations, for every element that has formats.
template <class I, class T> class XServerFormatted : public XServerConfigObject<I, T> {
public:
    using XServerConfigObject<I, T>::XServerConfigObject;

protected:
    HRESULT Create(int formatType, ILXFormat** out) {
        return this->Call(
            "CreateFormat",
            [&] {
                auto format = this->Core().Change([&](XServerModel&) {
                    XModelRef<XModelFormat>& created = this->SharedElement()->formats[formatType];
                    created->properties.Set(XProperty::DataType, formatType);
                    return created.Share();
                });
                *out = LXMake<XServerFormat>(this->SharedCore(), std::move(format)).Detach();
                return S_OK;
            },
            out);
    }

    HRESULT Find(int formatType, ILXFormat** out) {
        return this->Call(
            "GetFormat",
            [&] {
                auto format = this->Core().Read([&](const XServerModel&) -> std::shared_ptr<XModelFormat> {
                    const auto& formats = this->SharedElement()->formats;
                    const auto found = formats.find(formatType);
                    return found != formats.end() ? found->second.Share() : nullptr;
                });
                if (format == nullptr) { return S_FALSE; }
                *out = LXMake<XServerFormat>(this->SharedCore(), std::move(format)).Detach();
                return S_OK;
            },
            out);
    }

    HRESULT Delete(int formatType) {
        return this->Call("DeleteFormat", [&] {
            const bool deleted = this->Core().Change(
                [&](XServerModel&) { return this->SharedElement()->formats.erase(formatType) != 0; });
            return deleted ? S_OK : S_FALSE;
        });
    }
};

class XServerGroup final : public XServerFormatted<ILXGroup, XModelGroup> {
public:
    XServerGroup(XServerCorePtr core, std::shared_ptr<XModelGroup> group, std::shared_ptr<XModelType> owner)
        : XServerFormatted(std::move(core), std::move(group)), m_owner(std::move(owner)) {}

    STDMETHODIMP dummy() override { return Refuse("dummy"); }
    STDMETHODIMP GetChildGroupEnum(ILXGroupEnum** ppEnum) override;
    STDMETHODIMP CreateFormat(ILXFormat** ppFormat) override { return Create(0, ppFormat); }
    STDMETHODIMP GetFormat(ILXFormat** ppFormat) override { return Find(0, ppFormat); }
    STDMETHODIMP DeleteFormat() override { return Delete(0); }

private:
    const std::shared_ptr<XModelType> m_owner;
};

class XServerAttribute final : public XServerFormatted<ILXAttribute, XModelAttribute> {
public:
    using XServerFormatted::XServerFormatted;

    STDMETHODIMP AddAttributeType(ILXAttributeType** ppAttributeType) override;
    STDMETHODIMP RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) override;
    STDMETHODIMP GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) override;
    STDMETHODIMP CreateFormat(int iFormatType, ILXFormat** ppFormat) override { return Create(iFormatType, ppFormat); }
    STDMETHODIMP GetFormat(int iFormatType, ILXFormat** ppFormat) override { return Find(iFormatType, ppFormat); }
    STDMETHODIMP DeleteFormat(int iFormatType) override { return Delete(iFormatType); }
};

class XServerGlobalSpec final : public XServerFormatted<ILXGlobalAttributeFormatSpec, XModelGlobalSpec> {
public:
    using XServerFormatted::XServerFormatted;

    STDMETHODIMP CreateFormat(int iFormatType, ILXFormat** ppFormat) override { return Create(iFormatType, ppFormat); }
    STDMETHODIMP GetFormat(int iFormatType, ILXFormat** ppFormat) override { return Find(iFormatType, ppFormat); }
    STDMETHODIMP DeleteFormat(int iFormatType) override { return Delete(iFormatType); }
};

class XServerRelation final : public XServerConfigObject<ILXParentChild, XModelRelation> {
public:
    using XServerConfigObject::XServerConfigObject;

    STDMETHODIMP AddPCInfo(ILXPCInfo** ppPCInfo) override;
    STDMETHODIMP RemovePCInfo(ILXPCInfo* pPCInfo, LONG* plResult) override;
    STDMETHODIMP GetPCInfoEnum(ILXPCInfoEnum** ppEnum) override;
    STDMETHODIMP GetPCInfo(BSTR bstrBrowserId, ILXPCInfo** ppPCInfo) override;
};

#endif

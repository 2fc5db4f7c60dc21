// SPDX-License-Identifier: MIT
#include "brokenserver.h"

#include <lxserver/Object.h>
#include <lxserver/Refusals.h>

namespace {
template <class T> HRESULT Altered(const Faults::Answer& fault, std::string_view method, HRESULT result, T** out) {
    return fault ? fault(method, result, reinterpret_cast<void**>(out)) : result;
}

// Declares a method that forwards its call and whose result a fault may change.
#define LX_FORWARDED(Method, Parameters, Arguments, Out)                                                               \
    HRESULT STDMETHODCALLTYPE Method Parameters override {                                                             \
        return Altered(Fault(), #Method, m_inner->Method Arguments, Out);                                              \
    }

class Type final : public lx::TypeRefusals<PassingObject<ILXType>> {
public:
    Type(XLXComPtr<ILXType> inner, FaultsPtr faults) : TypeRefusals(std::move(inner)), m_faults(std::move(faults)) {}

    HRESULT STDMETHODCALLTYPE GetProperty(int index, VARIANT* value) override {
        const HRESULT result = m_inner->GetProperty(index, value);
        return m_faults->property ? m_faults->property(index, result, value) : result;
    }
    LX_FORWARDED(GetProperties, (SAFEARRAY * *out), (out), out)
    LX_FORWARDED(GetPageEnum, (ILXPageEnum * *out), (out), out)
    LX_FORWARDED(GetPage, (int n, ILXPage** out), (n, out), out)
    LX_FORWARDED(GetGroupEnum, (ILXGroupEnum * *out), (out), out)
    LX_FORWARDED(GetToplevelGroupEnum, (ILXGroupEnum * *out), (out), out)
    LX_FORWARDED(GetPageGroupEnum, (int n, ILXGroupEnum** out), (n, out), out)
    LX_FORWARDED(GetPageToplevelGroupEnum, (int n, ILXGroupEnum** out), (n, out), out)
    LX_FORWARDED(GetGroup, (int n, ILXGroup** out), (n, out), out)
    LX_FORWARDED(GetDisplayAttributeEnum, (LONG m, ILXAttributeEnum** out), (m, out), out)
    LX_FORWARDED(GetDisplayGroupAttributeEnum, (LONG m, int n, ILXAttributeEnum** out), (m, n, out), out)
    LX_FORWARDED(GetAttributeEnum, (ILXAttributeEnum * *out), (out), out)
    LX_FORWARDED(GetGroupAttributeEnum, (int n, ILXAttributeEnum** out), (n, out), out)
    LX_FORWARDED(GetAttribute, (BSTR n, ILXAttribute** out), (n, out), out)
    LX_FORWARDED(GetConfObjEditorEnum, (ILXConfObjEditorEnum * *out), (out), out)
    LX_FORWARDED(GetConfObjEditor, (BSTR p, BSTR b, BSTR t, ILXConfObjEditor** out), (p, b, t, out), out)
    LX_FORWARDED(GetDefaultEditor, (BSTR b, ILXConfObjEditor** out), (b, out), out)
    LX_FORWARDED(GetDefaultNewEditor, (BSTR b, ILXConfObjEditor** out), (b, out), out)
    LX_FORWARDED(GetTypeComponentData, (LONG m, SAFEARRAY** out), (m, out), out)

private:
    const Faults::Answer& Fault() const { return m_faults->type; }

    const FaultsPtr m_faults;
};

class Factory final : public lx::ConfigFactoryRefusals<lx::Object<ILXConfigFactory, ILXConfigFactoryEx>> {
public:
    Factory(std::shared_ptr<XSampleServer> server, FaultsPtr faults)
        : m_server(std::move(server)),
          m_faults(std::move(faults)),
          m_inner(m_server->ConfigFactory()),
          m_bulk(m_inner.As<ILXConfigFactoryEx>()) {}

    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG mode, SAFEARRAY** out) override {
        return Altered(Fault(), "GetTypeArrayEx", m_bulk->GetTypeArrayEx(mode, out), out);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR name, LONG bases, LONG mode, SAFEARRAY** out) override {
        const LONG given = m_faults->withBases.value_or(bases);
        return Altered(Fault(), "GetTypeArrayByTypeNameEx", m_bulk->GetTypeArrayByTypeNameEx(name, given, mode, out),
                       out);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY* names, LONG bases, LONG mode,
                                                            SAFEARRAY** out) override {
        return Altered(Fault(), "GetTypeArrayByTypeNameArrayEx",
                       m_bulk->GetTypeArrayByTypeNameArrayEx(names, bases, mode, out), out);
    }
    HRESULT STDMETHODCALLTYPE GetType(BSTR name, BSTR config, ILXType** out) override {
        const HRESULT result = m_inner->GetType(name, config, out);
        if (*out != nullptr) { *out = XLXComPtr<ILXType>(new Type(LXAttach(*out), m_faults)).Detach(); }
        return Altered(Fault(), "GetType", result, out);
    }
    LX_FORWARDED(GetTypeEnum, (BSTR c, ILXTypeEnum** out), (c, out), out)
    LX_FORWARDED(GetSearchableTypeEnum, (ILXTypeEnum * *out), (out), out)
    LX_FORWARDED(GetPlanTypeEnum, (BSTR c, ILXTypeEnum** out), (c, out), out)
    LX_FORWARDED(GetParentChildEnum, (BSTR n, BSTR c, ILXParentChildEnum** out), (n, c, out), out)
    LX_FORWARDED(GetBrowserIdEnum, (ILXBrowserIdEnum * *out), (out), out)
    LX_FORWARDED(GetPCArray, (SAFEARRAY * *out), (out), out)
    LX_FORWARDED(GetAllGlobalAttributeFormatSpecs, (ILXGlobalAttributeFormatSpecEnum * *out), (out), out)
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* out) override { return m_inner->GetVersion(out); }

private:
    const Faults::Answer& Fault() const { return m_faults->factory; }

    const std::shared_ptr<XSampleServer> m_server;
    const FaultsPtr m_faults;
    const XLXComPtr<ILXConfigFactory> m_inner;
    const XLXComPtr<ILXConfigFactoryEx> m_bulk;
};

/// Proxy of a client's callback, which applies faults to notifications.
class Callback final : public HostileObject<ILXCallbackUpdate> {
public:
    Callback(ILXCallbackUpdate* client, LONG number, FaultsPtr faults)
        : m_client(client), m_number(number), m_faults(std::move(faults)) {
        if (!m_faults->keepNoReference) { m_client->AddRef(); }
    }
    ~Callback() override {
        if (!m_faults->keepNoReference && !m_faults->releaseNoReference) { m_client->Release(); }
    }
    HRESULT STDMETHODCALLTYPE CheckCallbackValid() override { return m_client->CheckCallbackValid(); }
    HRESULT STDMETHODCALLTYPE ServerIsTerminating() override { return m_client->ServerIsTerminating(); }
    HRESULT STDMETHODCALLTYPE SetCallbackId(LONG id) override { return m_client->SetCallbackId(id); }
    HRESULT STDMETHODCALLTYPE GetClientInfo(tagLXClientInfo* info) override { return m_client->GetClientInfo(info); }
    HRESULT STDMETHODCALLTYPE DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                                tagLXUpdateInfo* info) override {
        XLXText text(LXBstrView(dataId));
        if (m_faults->notification && !m_faults->notification(m_number, text, id)) { return S_OK; }
        m_faults->notifying = true;
        const HRESULT result = m_client->DataObjectChanged(XLXComBSTR(text).Get(), dataType, type, id, count, info);
        m_faults->notifying = false;
        return m_faults->hideAnswers ? S_OK : result;
    }

private:
    ILXCallbackUpdate* const m_client;
    const LONG m_number;
    const FaultsPtr m_faults;
};

class Update final : public lx::DataUpdateRefusals<lx::Object<ILXDataUpdate>> {
public:
    Update(XLXComPtr<ILXDataUpdate> inner, FaultsPtr faults) : m_inner(std::move(inner)), m_faults(std::move(faults)) {}

    HRESULT STDMETHODCALLTYPE RegisterCallback(BSTR computer, ULONG process, ILXCallbackUpdate* client,
                                               LONG* id) override {
        const XLXComPtr<ILXCallbackUpdate> callback(new Callback(client, ++m_clients, m_faults));
        return m_inner->RegisterCallback(computer, process, callback.Get(), id);
    }
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG id) override {
        const HRESULT result = m_inner->UnregisterCallback(id);
        return m_faults->knowEveryClient ? S_OK : result;
    }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG id, BSTR type, LONG enable, ULONG advices) override {
        return m_inner->EnableAdvicesDataType(id, type, enable, advices);
    }

private:
    const XLXComPtr<ILXDataUpdate> m_inner;
    const FaultsPtr m_faults;
    LONG m_clients = 0;
};
} // namespace

XLXComPtr<ILXConfigFactory> BrokenFactory(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults) {
    return XLXComPtr<ILXConfigFactory>(new Factory(server, faults));
}

XLXComPtr<ILXDataUpdate> BrokenUpdate(const std::shared_ptr<XSampleServer>& server, const FaultsPtr& faults) {
    return XLXComPtr<ILXDataUpdate>(new Update(server->DataUpdate(), faults));
}

std::span<VARIANT> ElementsOf(SAFEARRAY* array) {
    return {static_cast<VARIANT*>(array->pvData), array->rgsabound[0].cElements};
}

void Replace(VARIANT& element, XLXComVariant value) {
    VariantClear(&element);
    value.DetachTo(&element);
}

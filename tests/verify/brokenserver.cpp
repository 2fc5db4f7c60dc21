// SPDX-License-Identifier: MIT
#include "brokenserver.h"

#include <lxserver/Object.h>
#include <lxserver/Refusals.h>

namespace {
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
    HRESULT STDMETHODCALLTYPE UnregisterCallback(LONG id) override { return m_inner->UnregisterCallback(id); }
    HRESULT STDMETHODCALLTYPE EnableAdvicesDataType(LONG id, BSTR type, LONG enable, ULONG advices) override {
        return m_inner->EnableAdvicesDataType(id, type, enable, advices);
    }

private:
    const XLXComPtr<ILXDataUpdate> m_inner;
    const FaultsPtr m_faults;
    LONG m_clients = 0;
};
} // namespace

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

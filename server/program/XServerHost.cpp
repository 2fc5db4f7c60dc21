// SPDX-License-Identifier: MIT
#include "XServerHost.h"

#include "XRandomEdits.h"
#include "XServerTexts.h"

#include "XLXComBSTR.h"

namespace {
using namespace std::chrono_literals;

constexpr auto WaitForClients = 10s; // limit of an edit's wait for the notified clients

/// Sets the reason as the thread's error information.
void Explain(const char* method, const std::string& reason) {
    XLXComPtr<ICreateErrorInfo> info;
    if (FAILED(CreateErrorInfo(info.Put()))) { return; }
    info->SetGUID(LXIid<ILXSampleServer>());
    info->SetSource(XLXComBSTR(LXFromUtf8(std::string("ILXSampleServer::") + method)).Get());
    info->SetDescription(XLXComBSTR(LXFromUtf8(reason)).Get());
    SetErrorInfo(0, info.As<IErrorInfo>().Get());
}

/// Runs a method: nulls its out arguments, and turns exceptions into results.
template <class Work, class... Outs> HRESULT Method(const char* name, Work&& work, Outs**... outs) noexcept {
    if (((outs == nullptr) || ... || false)) { return E_POINTER; }
    ((*outs = nullptr), ...);
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::logic_error& error) // an invalid edit
    {
        Explain(name, error.what());
        return E_INVALIDARG;
    } catch (const std::exception& error) {
        Explain(name, error.what());
        return E_FAIL;
    }
}

BSTR NewText(const std::string& utf8) { return XLXComBSTR(LXFromUtf8(utf8)).Detach(); }
} // namespace

XServerHost::XServerHost(XServerModel model)
    : m_server(XSampleServer::Create(std::move(model))),
      m_local(
          CLSID_LXSampleServer, [this](REFIID iid, void** out) { return QueryInterface(iid, out); },
          [this] { return IsInUse(); }, [this] { m_server->CheckClients(); }) {
    m_server->CallEachClientOnItsOwnThread(WaitForClients);
}

bool XServerHost::IsInUse() const {
    return m_references > 0 || m_server->LiveObjects().objects > 0 || !m_server->Clients().empty();
}

void XServerHost::Serve(Terms terms, const std::function<void()>& whenReady) {
    m_local.Serve(terms, whenReady);
    CoDisconnectObject(static_cast<ILXSampleServer*>(this), 0); // no calls arrive after this
}

HRESULT XServerHost::QueryInterface(REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    *out = iid == IID_IUnknown || iid == LXIid<ILXSampleServer>() ? static_cast<ILXSampleServer*>(this)
           : iid == IID_ISupportErrorInfo ? static_cast<void*>(static_cast<ISupportErrorInfo*>(this))
                                          : nullptr;
    if (*out == nullptr) { return E_NOINTERFACE; }
    AddRef();
    return S_OK;
}

HRESULT XServerHost::GetServices(ILXConfigFactory** factory, ILX_Query** query, ILXDataUpdate** update) {
    return Method(
        "GetServices",
        [&] {
            auto newQuery = m_server->Query();
            auto itsFactory = m_server->ConfigFactory();
            *update = m_server->DataUpdate().Detach();
            *query = newQuery.Detach();
            *factory = itsFactory.Detach();
            return S_OK;
        },
        factory, query, update);
}

HRESULT XServerHost::GetDataObject(BSTR typeName, ILX_BaseDataObject** object) {
    return Method(
        "GetDataObject",
        [&] {
            *object = m_server->DataObject(LXBstrView(typeName)).Detach();
            return S_OK;
        },
        object);
}

HRESULT XServerHost::GetStoredObject(BSTR id, ILX_BaseDataObject** object) {
    return Method(
        "GetStoredObject",
        [&] {
            *object = m_server->StoredObject(LXBstrView(id)).Detach();
            return *object != nullptr ? S_OK : S_FALSE;
        },
        object);
}

HRESULT XServerHost::Edit(BSTR edit, BSTR* outcome) {
    return Method(
        "Edit",
        [&] {
            try {
                *outcome = NewText(LXFormatNotification(LXApplyEdit(m_server->Edit(), LXToUtf8(LXBstrView(edit)))));
                return S_OK;
            } catch (const std::logic_error& error) {
                *outcome = NewText(LXFormatRefusal(error.what()));
                throw;
            }
        },
        outcome);
}

HRESULT XServerHost::RandomEdits(ULONG seed, ULONG count) {
    return Method("RandomEdits", [&] {
        LXRandomEdits(*m_server, seed, count);
        return S_OK;
    });
}

HRESULT XServerHost::GetCallCounts(BSTR* counts) {
    return Method(
        "GetCallCounts",
        [&] {
            *counts = NewText(LXFormatCounts(m_server->Calls().Counts()));
            return S_OK;
        },
        counts);
}

HRESULT XServerHost::SetDelay(ULONG microseconds) {
    m_server->Calls().SetDelay(std::chrono::microseconds(microseconds));
    return S_OK;
}

HRESULT XServerHost::GetStatus(BSTR* status) {
    return Method(
        "GetStatus",
        [&] {
            *status = NewText(LXFormatStatus(*m_server));
            return S_OK;
        },
        status);
}

HRESULT XServerHost::Stop() {
    return Method("Stop", [&] {
        m_server->AnnounceTermination();
        m_local.Stop();
        return S_OK;
    });
}

HRESULT XServerHost::InterfaceSupportsErrorInfo(REFIID iid) { return iid == LXIid<ILXSampleServer>() ? S_OK : S_FALSE; }

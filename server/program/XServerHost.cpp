// SPDX-License-Identifier: MIT
#include "XServerHost.h"

#include "XRandomEdits.h"
#include "XServerTexts.h"

#include "XLXComBSTR.h"

#include <thread>

namespace {
using namespace std::chrono_literals;

constexpr auto WaitForClients = 2s;       // how long an edit waits for the clients that it notifies
constexpr auto TimeBetweenChecks = 1s;    // of whether the clients still live
constexpr int ChecksUntilIdleEnd = 5;     // that find nobody
constexpr auto TimeForLastAnswer = 200ms; // so that the call that stopped the server is still answered

/// Leaves the reason as the thread's error information.
void Explain(const char* method, const std::string& reason) {
    XLXComPtr<ICreateErrorInfo> info;
    if (FAILED(CreateErrorInfo(info.Put()))) { return; }
    info->SetGUID(LXIid<ILXSampleServer>());
    info->SetSource(XLXComBSTR(LXFromUtf8(std::string("ILXSampleServer::") + method)).Get());
    info->SetDescription(XLXComBSTR(LXFromUtf8(reason)).Get());
    SetErrorInfo(0, info.As<IErrorInfo>().Get());
}

/// A method: empties its out arguments, and turns exceptions into results.
template <class Work, class... Outs>
HRESULT Method(const char* name, Work&& work, Outs**... outs) noexcept {
    if (((outs == nullptr) || ... || false)) { return E_POINTER; }
    ((*outs = nullptr), ...);
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::logic_error& error) // an edit that cannot be done
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

XServerHost::XServerHost(XServerModel model) : m_server(XSampleServer::Create(std::move(model))) {
    m_server->CallEachClientOnItsOwnThread(WaitForClients);
}

DWORD XServerHost::Register(Terms terms) {
    DWORD cookie = 0;
    const HRESULT result = CoRegisterClassObject(CLSID_LXSampleServer, &m_factory, CLSCTX_LOCAL_SERVER,
                                                 terms.singleUse ? REGCLS_SINGLEUSE : REGCLS_MULTIPLEUSE, &cookie);
    if (FAILED(result)) { throw std::runtime_error("the server's class object cannot be registered"); }
    return cookie;
}

bool XServerHost::IsInUse() const {
    return m_references > 0 || m_locks > 0 || m_server->LiveObjects().objects > 0 || !m_server->Clients().empty();
}

bool XServerHost::WaitForStop(std::chrono::milliseconds time) {
    std::unique_lock lock(m_mutex);
    return m_stopped.wait_for(lock, time, [this] { return m_stop; });
}

void XServerHost::Serve(Terms terms, const std::function<void()>& whenReady) {
    DWORD cookie = Register(terms);
    whenReady();
    for (int idle = 0; !WaitForStop(TimeBetweenChecks);) {
        m_server->CheckClients();
        idle = IsInUse() ? 0 : idle + 1;
        if (!terms.idleEnd || idle < ChecksUntilIdleEnd) { continue; }
        CoRevokeClassObject(cookie);
        if (!IsInUse()) // nobody came in at the last moment
        {
            return;
        }
        cookie = Register(terms);
        idle = 0;
    }
    std::this_thread::sleep_for(TimeForLastAnswer);
    CoRevokeClassObject(cookie);
    CoDisconnectObject(static_cast<ILXSampleServer*>(this), 0); // no call comes after this
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
        const std::lock_guard lock(m_mutex);
        m_stop = true;
        m_stopped.notify_all();
        return S_OK;
    });
}

HRESULT XServerHost::InterfaceSupportsErrorInfo(REFIID iid) { return iid == LXIid<ILXSampleServer>() ? S_OK : S_FALSE; }

HRESULT XServerHost::Factory::QueryInterface(REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *out = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT XServerHost::Factory::CreateInstance(IUnknown* outer, REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    *out = nullptr;
    return outer != nullptr ? CLASS_E_NOAGGREGATION : m_host.QueryInterface(iid, out);
}

HRESULT XServerHost::Factory::LockServer(BOOL lock) {
    m_host.m_locks += lock ? 1 : -1;
    return S_OK;
}

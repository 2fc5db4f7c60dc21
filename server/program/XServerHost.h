// SPDX-License-Identifier: MIT
//
// The control object of the sample server's program. It also determines how long the program runs.
//
// Ownership  The host owns the sample server. Clients hold references to the control object and to the server's
//            objects. The host outlives them all, because main() waits in Serve.
// Threading  Thread-safe.
// Errors     Interface methods return HRESULTs, with error information if a reason is known.
#ifndef XSERVERHOST_H
#define XSERVERHOST_H

#include "LXSampleServer.h"
#include "XSampleServer.h"

#include <lxserver/LocalServer.h>

class XServerHost final : public ILXSampleServer, public ISupportErrorInfo {
public:
    explicit XServerHost(XServerModel model);
    XServerHost(const XServerHost&) = delete;
    XServerHost& operator=(const XServerHost&) = delete;

    using Terms = lx::LocalServer::Terms;

    /// Makes the control object available to clients until the program is to end. Calls whenReady as soon as it is
    /// available. Raises std::runtime_error if that fails.
    void Serve(Terms terms, const std::function<void()>& whenReady);
    XSampleServer& Server() const { return *m_server; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--m_references); }

    STDMETHODIMP GetServices(ILXConfigFactory** factory, ILX_Query** query, ILXDataUpdate** update) override;
    STDMETHODIMP GetDataObject(BSTR typeName, ILX_BaseDataObject** object) override;
    STDMETHODIMP GetStoredObject(BSTR id, ILX_BaseDataObject** object) override;
    STDMETHODIMP Edit(BSTR edit, BSTR* outcome) override;
    STDMETHODIMP RandomEdits(ULONG seed, ULONG count) override;
    STDMETHODIMP GetCallCounts(BSTR* counts) override;
    STDMETHODIMP SetDelay(ULONG microseconds) override;
    STDMETHODIMP GetStatus(BSTR* status) override;
    STDMETHODIMP Stop() override;

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override;

private:
    bool IsInUse() const;

    const std::shared_ptr<XSampleServer> m_server;
    std::atomic<LONG> m_references{0}; // by clients; they do not own the host, a local variable of main
    lx::LocalServer m_local;
};

#endif

// SPDX-License-Identifier: MIT
//
// A client of the server, as the verification plays one: it notes what it is told.
//
// Ownership  It lives until the process ends, since a server may keep a reference too long or give one back too often.
// Threading  May be called from any thread.
#ifndef XVERIFIERCALLBACK_H
#define XVERIFIERCALLBACK_H

#include "LXConfigFactoryCache.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// A notification as it came.
struct XHeard {
    std::string dataId;
    std::string dataType;
    ULONG id = 0;
};

class XVerifierCallback final : public ILXCallbackUpdate {
public:
    static XVerifierCallback& New();

    /// What it answers to a notification.
    void Answer(HRESULT answer) { m_answer = answer; }
    /// Called inside each notification of the type "cfc_specific".
    void Inside(std::function<void()> inside);
    std::vector<XHeard> Heard() const;
    /// How many notifications have come and were answered.
    std::size_t Count() const;
    LONG References() const { return m_references; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--m_references); }
    STDMETHODIMP CheckCallbackValid() override { return m_answer; }
    STDMETHODIMP ServerIsTerminating() override { return S_OK; }
    STDMETHODIMP SetCallbackId(LONG) override { return S_OK; }
    STDMETHODIMP GetClientInfo(tagLXClientInfo*) override { return E_NOTIMPL; }
    STDMETHODIMP DataObjectChanged(BSTR dataId, BSTR dataType, ULONG type, ULONG id, ULONG count,
                                   tagLXUpdateInfo* info) override;

private:
    std::atomic<LONG> m_references{0};
    std::atomic<HRESULT> m_answer{S_OK};
    mutable std::mutex m_mutex; // guards the rest
    std::function<void()> m_inside;
    std::vector<XHeard> m_heard;
};

#endif

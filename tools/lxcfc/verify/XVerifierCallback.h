// SPDX-License-Identifier: MIT
//
// The callback of a simulated client, which records notifications.
//
// Ownership  Never destroyed, because a faulty server may keep a reference too long or release one too often.
// Threading  Thread-safe.
#ifndef XVERIFIERCALLBACK_H
#define XVERIFIERCALLBACK_H

#include "LXConfigFactoryCache.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// A received notification.
struct XHeard {
    std::string dataId;
    std::string dataType;
    ULONG id = 0;
};

class XVerifierCallback final : public ILXCallbackUpdate {
public:
    static XVerifierCallback& New();

    /// Sets the result of notification calls.
    void Answer(HRESULT answer) { m_answer = answer; }
    /// Sets a function to call inside each notification of the type "cfc_specific".
    void Inside(std::function<void()> inside);
    std::vector<XHeard> Heard() const;
    /// The number of notifications that were received and answered.
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
    mutable std::mutex m_mutex; // guards the members below
    std::function<void()> m_inside;
    std::vector<XHeard> m_heard;
};

#endif

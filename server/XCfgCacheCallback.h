// SPDX-License-Identifier: MIT
//
// The separate callback object, which the cache registers with the server if the client requests that. It forwards
// every call to its target callback.
//
// Ownership  Holds a reference to the target until Initialize replaces it, possibly by null.
// Threading  Free-threaded; no lock is held while a call is forwarded.
// Errors     Without a target, forwarded calls return E_POINTER.
#ifndef XCFGCACHECALLBACK_H
#define XCFGCACHECALLBACK_H

#include "XLXComPtr.h"

#include <atomic>
#include <mutex>

class XCfgCacheCallback final : public IXCfgCacheCallback, public ILXCallbackUpdate {
public:
    XCfgCacheCallback() noexcept { ++s_alive; }
    XCfgCacheCallback(const XCfgCacheCallback&) = delete;
    XCfgCacheCallback& operator=(const XCfgCacheCallback&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP Initialize(ILXCallbackUpdate* pCallback) override;

    STDMETHODIMP CheckCallbackValid() override;
    STDMETHODIMP ServerIsTerminating() override;
    STDMETHODIMP SetCallbackId(LONG lClientId) override;
    STDMETHODIMP GetClientInfo(tagLXClientInfo* pClientInfo) override;
    STDMETHODIMP DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG ulNotificationType, ULONG ulNotificationId,
                                   ULONG ulCount, tagLXUpdateInfo* pLXUpdateInfo) override;

    /// The number of live objects in this process.
    static LONG Alive() noexcept { return s_alive; }

private:
    virtual ~XCfgCacheCallback() { --s_alive; }
    XLXComPtr<ILXCallbackUpdate> Target();
    template <class F> HRESULT PassOn(F&& call);

    static std::atomic<LONG> s_alive;
    std::atomic<ULONG> m_references{0};
    std::mutex m_mutex; // guards m_target
    XLXComPtr<ILXCallbackUpdate> m_target;
};

/// A class object of XCfgCacheCallback.
HRESULT LXCfgCacheCallbackFactory(REFIID iid, void** out);
/// The number of its objects, class objects and locks in this process.
LONG LXCfgCacheCallbacksInUse() noexcept;

/// Registers the class XCfgCacheCallback in this process during its own lifetime. The process must have initialised
/// COM. Raises std::runtime_error on failure.
class XCfgCacheCallbackRegistration {
public:
    XCfgCacheCallbackRegistration();
    ~XCfgCacheCallbackRegistration();
    XCfgCacheCallbackRegistration(const XCfgCacheCallbackRegistration&) = delete;
    XCfgCacheCallbackRegistration& operator=(const XCfgCacheCallbackRegistration&) = delete;

private:
    DWORD m_cookie = 0;
};

#endif

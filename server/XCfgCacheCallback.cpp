// SPDX-License-Identifier: MIT
#include "XCfgCacheCallback.h"

#include <new>
#include <stdexcept>

std::atomic<LONG> XCfgCacheCallback::s_alive{0};

namespace {
class XCallbackFactory final : public IClassFactory {
public:
    XCallbackFactory() noexcept { ++s_factories; }
    static LONG Alive() noexcept { return s_factories; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *out = known ? static_cast<IClassFactory*>(this) : nullptr;
        return known ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) { delete this; }
        return left;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (out == nullptr) { return E_POINTER; }
        *out = nullptr;
        if (outer != nullptr) { return CLASS_E_NOAGGREGATION; }
        const XLXComPtr<XCfgCacheCallback> callback(new (std::nothrow) XCfgCacheCallback);
        return callback ? callback->QueryInterface(iid, out) : E_OUTOFMEMORY;
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        s_factories += lock ? 1 : -1;
        return S_OK;
    }

private:
    virtual ~XCallbackFactory() { --s_factories; }

    static inline std::atomic<LONG> s_factories{0}; // and locks
    std::atomic<ULONG> m_references{0};
};
} // namespace

HRESULT XCfgCacheCallback::QueryInterface(REFIID iid, void** out) {
    if (out == nullptr) { return E_POINTER; }
    *out = nullptr;
    if (iid == IID_IUnknown || iid == LXIid<IXCfgCacheCallback>()) {
        *out = static_cast<IXCfgCacheCallback*>(this);
    } else if (iid == LXIid<ILXCallback>() || iid == LXIid<ILXCallbackUpdate>()) {
        *out = static_cast<ILXCallbackUpdate*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG XCfgCacheCallback::Release() {
    const ULONG left = --m_references;
    if (left == 0) { delete this; }
    return left;
}

XLXComPtr<ILXCallbackUpdate> XCfgCacheCallback::Target() {
    const std::lock_guard lock(m_mutex);
    return m_target;
}

template <class F> HRESULT XCfgCacheCallback::PassOn(F&& call) {
    const auto target = Target();
    return target ? call(*target) : E_POINTER;
}

HRESULT XCfgCacheCallback::Initialize(ILXCallbackUpdate* pCallback) {
    XLXComPtr<ILXCallbackUpdate> target(pCallback); // the old one is released with no lock held
    const std::lock_guard lock(m_mutex);
    m_target.Swap(target);
    return S_OK;
}

HRESULT XCfgCacheCallback::CheckCallbackValid() {
    return PassOn([](ILXCallbackUpdate& target) { return target.CheckCallbackValid(); });
}

HRESULT XCfgCacheCallback::ServerIsTerminating() {
    return PassOn([](ILXCallbackUpdate& target) { return target.ServerIsTerminating(); });
}

HRESULT XCfgCacheCallback::SetCallbackId(LONG lClientId) {
    return PassOn([=](ILXCallbackUpdate& target) { return target.SetCallbackId(lClientId); });
}

HRESULT XCfgCacheCallback::GetClientInfo(tagLXClientInfo* pClientInfo) {
    return PassOn([=](ILXCallbackUpdate& target) { return target.GetClientInfo(pClientInfo); });
}

HRESULT XCfgCacheCallback::DataObjectChanged(BSTR bstrDataID, BSTR bstrDataTyp, ULONG ulNotificationType,
                                             ULONG ulNotificationId, ULONG ulCount, tagLXUpdateInfo* pLXUpdateInfo) {
    return PassOn([=](ILXCallbackUpdate& target) {
        return target.DataObjectChanged(bstrDataID, bstrDataTyp, ulNotificationType, ulNotificationId, ulCount,
                                        pLXUpdateInfo);
    });
}

HRESULT LXCfgCacheCallbackFactory(REFIID iid, void** out) {
    const XLXComPtr<XCallbackFactory> factory(new (std::nothrow) XCallbackFactory);
    return factory ? factory->QueryInterface(iid, out) : E_OUTOFMEMORY;
}

LONG LXCfgCacheCallbacksInUse() noexcept { return XCfgCacheCallback::Alive() + XCallbackFactory::Alive(); }

XCfgCacheCallbackRegistration::XCfgCacheCallbackRegistration() {
    const XLXComPtr<XCallbackFactory> factory(new XCallbackFactory);
    const HRESULT result =
        CoRegisterClassObject(CLSID_XCfgCacheCallback, factory.Get(), CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                              REGCLS_MULTIPLEUSE, &m_cookie);
    if (FAILED(result)) { throw std::runtime_error("XCfgCacheCallback cannot be registered"); }
}

XCfgCacheCallbackRegistration::~XCfgCacheCallbackRegistration() { CoRevokeClassObject(m_cookie); }

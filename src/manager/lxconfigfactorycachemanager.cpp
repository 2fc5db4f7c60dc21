// SPDX-License-Identifier: MIT
//
// The manager's destructor and its simple methods.
#include "lxconfigfactorycachemanager.h"

#include "lxtransientpc.h"

// Nobody holds a reference any more, so no notification can be in progress. Does not call the server.
XLXConfigFactoryCacheManager::~XLXConfigFactoryCacheManager() {
    m_pcInfoLink.Clear();
    m_selfLink.Clear();
    XLXTransientPC::Disown(*this);
    if (m_connection) { EmptyCaches(m_connection->clock); }
    m_transferMode->Set(0); // types that outlive the manager fetch only the requested kind
    delete m_pImpl.load();
    XModuleCount::Unlock();
}

XLXComPtr<ILXConfigFactory> XLXConfigFactoryCacheManager::ConfigFactoryOf(const XClockPtr& clock,
                                                                          const char* method) const {
    const XConnectionPtr connection = ConnectionWith(clock);
    XLXError::CheckPointer(connection.get(), OLESTR("m_pConfigFactory"), LXManagerAt(method));
    return connection->configFactory;
}

std::shared_ptr<XLXPCPartCacheMng> XLXConfigFactoryCacheManager::RelationManager(const char* method) const {
    std::shared_ptr<XLXPCPartCacheMng> relations;
    {
        const XLeafLock lock(m_mutex);
        relations = m_connection ? m_connection->relations : nullptr;
    }
    XLXError::CheckPointer(relations.get(), OLESTR("m_pPCPartCacheMng"), LXManagerAt(method));
    return relations;
}

HRESULT XLXConfigFactoryCacheManager::AnswerNumber(const char* method, const OLECHAR* name, LONG* out, LONG number) {
    return XLXError::Guarded(LXManagerAt(method), [&]() -> HRESULT {
        XLXError::CheckPointer(out, name, LXManagerAt(method));
        *out = number;
        return S_OK;
    });
}

HRESULT XLXConfigFactoryCacheManager::GetEntryFlags(LONG* plFlagA, LONG* plFlagB) {
    return XLXError::Guarded(LXManagerAt("GetEntryFlags"), [&]() -> HRESULT {
        XLXError::CheckPointer(plFlagA, OLESTR("plFlagA"), LXManagerAt("GetEntryFlags"));
        XLXError::CheckPointer(plFlagB, OLESTR("plFlagB"), LXManagerAt("GetEntryFlags"));
        *plFlagA = 0;
        *plFlagB = 1;
        return S_OK;
    });
}

HRESULT XLXConfigFactoryCacheManager::GetRealConfigFactory(ILXConfigFactory** ppConfigFactory) {
    return LXAnswer(LXManagerAt("GetRealConfigFactory"), OLESTR("ppConfigFactory"), ppConfigFactory, [&] {
        XLXComPtr<ILXConfigFactory> real;
        const HRESULT result = LXQuery(*ConfigFactory("GetRealConfigFactory"), real);
        *ppConfigFactory = real.Detach();
        return result;
    });
}

HRESULT XLXConfigFactoryCacheManager::NotifyServerTermination() {
    return XLXError::Guarded(LXManagerAt("NotifyServerTermination"), [&] {
        m_lServerTerminated.store(true);
        const auto factory = ConfigFactory("NotifyServerTermination");
        LXServerCall("ILXConfigFactory::NotifyServerTermination");
        return factory->NotifyServerTermination();
    });
}

HRESULT XLXConfigFactoryCacheManager::GetVersion(BSTR* pbstrVersion) {
    return LXPassOn(
        LXManagerAt("GetVersion"), "ILXConfigFactory::GetVersion", LXNoResult::Empty,
        [&] { return ConfigFactory("GetVersion"); }, &ILXConfigFactory::GetVersion, pbstrVersion);
}

HRESULT XLXConfigFactoryCacheManager::CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec** ppSpec) {
    constexpr const char* method = "CreateGlobalAttributeFormatSpec";
    return LXPassOn(
        LXManagerAt(method), "ILXConfigFactory::CreateGlobalAttributeFormatSpec", LXNoResult::PointerError,
        [&] { return ConfigFactory(method); }, &ILXConfigFactory::CreateGlobalAttributeFormatSpec, ppSpec);
}

HRESULT XLXConfigFactoryCacheManager::SetCallbackId(LONG lClientId) {
    const XLeafLock lock(m_mutex);
    if (m_connection) { m_connection->registration.clientId = lClientId; }
    return S_OK;
}

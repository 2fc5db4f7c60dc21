// SPDX-License-Identifier: MIT
//
// The manager as an object, and the methods that need no further logic.
#include "lxconfigfactorycachemanager.h"

#include "lxtransientpc.h"

XLXConfigFactoryCacheManager::XLXConfigFactoryCacheManager() { XModuleCount::Lock(); }

// Whoever releases the last reference has no notification coming: the server's reference is gone too. The server is
// not called any more.
XLXConfigFactoryCacheManager::~XLXConfigFactoryCacheManager() {
    m_selfLink.Clear();
    XLXTransientPC::Disown(*this);
    if (m_connection) { EmptyCaches(m_connection->clock); }
    m_transferMode->Set(0); // types that outlive the manager deliver what they are asked for and no more
    delete m_pImpl.load();
    XModuleCount::Unlock();
}

HRESULT XLXConfigFactoryCacheManager::RefuseNullFace() noexcept {
    return XLXError::RefusePointer(OLESTR("ppv"), LXManagerAt("QueryInterface"));
}

// A callback for updates is also a plain one.
void* XLXConfigFactoryCacheManager::FindFace(REFIID iid) noexcept {
    return XUnknown::FindFace(IsEqualIID(iid, LXIid<ILXCallback>()) ? LXIid<ILXCallbackUpdate>() : iid);
}

std::shared_ptr<XConnection> XLXConfigFactoryCacheManager::Connection() const noexcept {
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    return m_connection;
}

XServerAccess XLXConfigFactoryCacheManager::TryAccess() const noexcept {
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    return m_connection ? XServerAccess{m_connection->configFactory, m_connection->configFactoryEx, m_connection->query,
                                        m_connection->clock}
                        : XServerAccess{};
}

XServerAccess XLXConfigFactoryCacheManager::Access(const char* method) const {
    XServerAccess access = TryAccess();
    XLXError::CheckPointer(access.configFactory.Get(), OLESTR("m_pConfigFactory"), LXManagerAt(method));
    return access;
}

XLXComPtr<ILXConfigFactory> XLXConfigFactoryCacheManager::ConfigFactoryOf(const XClockPtr& clock,
                                                                          const char* method) const {
    const XServerAccess access = TryAccess();
    const bool isSame = access.clock == clock;
    XLXError::CheckPointer(isSame ? access.configFactory.Get() : nullptr, OLESTR("m_pConfigFactory"),
                           LXManagerAt(method));
    return access.configFactory;
}

std::shared_ptr<XLXPCPartCacheMng> XLXConfigFactoryCacheManager::RelationManager(const char* method) const {
    std::shared_ptr<XLXPCPartCacheMng> relations;
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        relations = m_connection ? m_connection->relations : nullptr;
    }
    XLXError::CheckPointer(relations.get(), OLESTR("m_pPCPartCacheMng"), LXManagerAt(method));
    return relations;
}

HRESULT XLXConfigFactoryCacheManager::SetInvalid() {
    m_lInvalid.store(true);
    return S_OK;
}

HRESULT XLXConfigFactoryCacheManager::IsValid(LONG* pbValid) {
    return XLXError::Guarded(LXManagerAt("IsValid"), [&]() -> HRESULT {
        XLXError::CheckPointer(pbValid, OLESTR("pbValid"), LXManagerAt("IsValid"));
        *pbValid = m_lInvalid.load() ? 0 : 1;
        return S_OK;
    });
}

HRESULT XLXConfigFactoryCacheManager::SetCFCDataTransferMode(LONG lDataTransferMode) {
    m_transferMode->Set(lDataTransferMode);
    return S_OK;
}

HRESULT XLXConfigFactoryCacheManager::GetCFCDataTransferMode(LONG* plDataTransferMode) {
    return XLXError::Guarded(LXManagerAt("GetCFCDataTransferMode"), [&]() -> HRESULT {
        XLXError::CheckPointer(plDataTransferMode, OLESTR("plDataTransferMode"), LXManagerAt("GetCFCDataTransferMode"));
        *plDataTransferMode = m_transferMode->Get();
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
    return XLXError::Guarded(LXManagerAt("GetRealConfigFactory"), [&] {
        LXCheckOut(ppConfigFactory, OLESTR("ppConfigFactory"), LXManagerAt("GetRealConfigFactory"));
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
    return XLXError::Guarded(LXManagerAt("GetVersion"), [&] {
        LXEmptyOut(pbstrVersion);
        const auto factory = ConfigFactory("GetVersion");
        return LXPassOn("ILXConfigFactory::GetVersion", pbstrVersion, LXNoResult::Empty, LXManagerAt("GetVersion"),
                        [&](BSTR* out) { return factory->GetVersion(out); });
    });
}

HRESULT XLXConfigFactoryCacheManager::CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec** ppSpec) {
    return XLXError::Guarded(LXManagerAt("CreateGlobalAttributeFormatSpec"), [&] {
        LXEmptyOut(ppSpec);
        const auto factory = ConfigFactory("CreateGlobalAttributeFormatSpec");
        return LXPassOn("ILXConfigFactory::CreateGlobalAttributeFormatSpec", ppSpec, LXNoResult::PointerError,
                        LXManagerAt("CreateGlobalAttributeFormatSpec"), [&](ILXGlobalAttributeFormatSpec** out) {
                            return factory->CreateGlobalAttributeFormatSpec(out);
                        });
    });
}

// Deprecated.
HRESULT XLXConfigFactoryCacheManager::GetTransientAttribute(ILXAttribute** ppAttribute) {
    return LXNotOffered(ppAttribute);
}

HRESULT XLXConfigFactoryCacheManager::SetCallbackId(LONG lClientId) {
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    if (m_connection) { m_connection->clientId = lClientId; }
    return S_OK;
}

HRESULT XLXConfigFactoryCacheManager::GetClientInfo(tagLXClientInfo* pClientInfo) {
    return XLXError::Guarded(LXManagerAt("GetClientInfo"), [&] {
        return LXGetClientInfo(pClientInfo, "XLXConfigFactoryCacheManager", LXManagerAt("GetClientInfo"));
    });
}

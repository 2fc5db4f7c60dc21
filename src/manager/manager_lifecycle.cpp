// SPDX-License-Identifier: MIT
//
// How the manager is brought into service and taken out of it.
#include "XLockSwitch.h"
#include "lxconfigfactorycachemanager.h"
#include "lxpcpartcachemng.h"

namespace
{
constexpr const OLECHAR* ModeConflictText = OLESTR(
    "initializing the CFC has already be called from serverside and cannot be used in a client application");
constexpr ULONG AdvicesDesired = 0x100;

/// The interface in a variant. A null or empty one is E_POINTER, another value DISP_E_TYPEMISMATCH; a failing
/// query is returned.
template <class T>
HRESULT InterfaceIn(const VARIANT& value, XLXComPtr<T>& result)
{
    const VARTYPE type = V_VT(&value);
    if (type != VT_UNKNOWN && type != VT_DISPATCH && type != VT_EMPTY)
    {
        return DISP_E_TYPEMISMATCH;
    }
    IUnknown* const object = type != VT_EMPTY ? V_UNKNOWN(&value) : nullptr;
    return object != nullptr ? object->QueryInterface(LXIid<T>(), result.PutVoid()) : E_POINTER;
}

bool IsPresent(const VARIANT& value)
{
    return (V_VT(&value) == VT_UNKNOWN || V_VT(&value) == VT_DISPATCH) && V_UNKNOWN(&value) != nullptr;
}
} // namespace

template <class Impl>
void XLXConfigFactoryCacheManager::CheckMode() const
{
    constexpr bool serverMode = std::is_same_v<Impl, XLXCFCMngImplServer>;
    if (const XLXCFCMngImpl* const impl = m_pImpl.load();
        impl != nullptr && impl->IsServerMode() != serverMode)
    {
        XLXError::Raise(E_FAIL, ModeConflictText, LXManagerAt("Initialize"));
    }
}

template <class Impl>
void XLXConfigFactoryCacheManager::InstallImpl()
{
    if (m_pImpl.load() == nullptr)
    {
        std::unique_ptr<XLXCFCMngImpl> impl = std::make_unique<Impl>(*this);
        XLXCFCMngImpl* none = nullptr;
        if (m_pImpl.compare_exchange_strong(none, impl.get()))
        {
            (void)impl.release();
        }
    }
    CheckMode<Impl>();
}

HRESULT XLXConfigFactoryCacheManager::Initialize(ILXConfigFactory* pConfigFactory, ILX_Query* pQuery,
                                                 ILXDataUpdate* pDataUpdate)
{
    return XLXError::Guarded(LXManagerAt("Initialize"), [&] {
        InstallImpl<XLXCFCMngImplServer>();
        XLockSwitch::TurnOff();
        return Init(pConfigFactory, pQuery, pDataUpdate, false, false);
    });
}

HRESULT XLXConfigFactoryCacheManager::InitializeNamed(ULONG count, tagLXNamedValue* values)
{
    return XLXError::Guarded(LXManagerAt("InitializeNamed"), [&]() -> HRESULT {
        if (count != 3)
        {
            return E_INVALIDARG;
        }
        XLXError::CheckPointer(values, OLESTR("values"), LXManagerAt("InitializeNamed"));
        XLXComPtr<ILXConfigFactory> factory;
        XLXComPtr<ILX_Query> query;
        XLXComPtr<ILXDataUpdate> update;
        for (ULONG i = 0; i < count; ++i)
        {
            const XLXTextView name = LXBstrView(values[i].bstrName);
            const VARIANT& value = values[i].varValue;
            HRESULT result = E_INVALIDARG;
            if (V_VT(&value) == VT_UNKNOWN)
            {
                result = name == OLESTR("QueryEngine")     ? InterfaceIn(value, query)
                         : name == OLESTR("Configfactory") ? InterfaceIn(value, factory)
                         : name == OLESTR("UpdateMng")     ? InterfaceIn(value, update)
                                                           : E_INVALIDARG;
            }
            if (FAILED(result))
            {
                return E_INVALIDARG;
            }
        }
        return Initialize(factory.Get(), query.Get(), update.Get());
    });
}

/// The values of a client's initialisation, read before anything of the manager changes.
struct XLXConfigFactoryCacheManager::ClientArguments
{
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    bool noNotifications = false;
    bool separateCallback = false;
    std::optional<LONG> transferMode;

    HRESULT Read(ULONG count, const VARIANT* values)
    {
        HRESULT result = InterfaceIn(values[0], factory);
        if (SUCCEEDED(result) && IsPresent(values[1]))
        {
            result = InterfaceIn(values[1], query);
        }
        if (FAILED(result))
        {
            return result;
        }
        const auto flag = [&](ULONG index) { return XLXComVariant::CopyOf(values[index]).AsBool(); };
        const auto none = flag(3);
        const auto separate = count > 4 ? flag(4) : std::optional<bool>(false);
        if (!none || !separate)
        {
            return DISP_E_TYPEMISMATCH;
        }
        noNotifications = *none;
        separateCallback = *separate;
        if (count > 5)
        {
            transferMode = XLXComVariant::CopyOf(values[5]).AsLong();
            if (!transferMode)
            {
                return DISP_E_TYPEMISMATCH;
            }
        }
        return noNotifications ? S_OK : InterfaceIn(values[2], update);
    }
};

HRESULT XLXConfigFactoryCacheManager::Initialize(ULONG count, VARIANT* values)
{
    return XLXError::Guarded(LXManagerAt("Initialize"), [&]() -> HRESULT {
        if (count < 4 || count > 6)
        {
            return E_INVALIDARG;
        }
        XLXError::CheckPointer(values, OLESTR("values"), LXManagerAt("Initialize"));
        ClientArguments arguments;
        const HRESULT result = arguments.Read(count, values);
        if (FAILED(result))
        {
            return result;
        }
        CheckMode<XLXCFCMngImplClient>();
        if (arguments.transferMode)
        {
            m_transferMode->Set(*arguments.transferMode);
        }
        InstallImpl<XLXCFCMngImplClient>();
        {
            const XFillGuard init(m_init, XFillGuard::NoWaitInsideFills());
            if (!Copy(&ServerReferences::configFactory))
            {
                m_bNoNotifications.store(arguments.noNotifications);
            }
        }
        return Init(arguments.factory.Get(), arguments.query.Get(), arguments.update.Get(), true,
                    arguments.separateCallback);
    });
}

HRESULT XLXConfigFactoryCacheManager::Init(ILXConfigFactory* factory, ILX_Query* query, ILXDataUpdate* update,
                                           bool clientMode, bool separateCallback)
{
    const XFillGuard init(m_init, XFillGuard::NoWaitInsideFills());
    if (!m_bNoNotifications.load())
    {
        XLXError::CheckPointer(update, OLESTR("pDataUpdate"), LXManagerAt("Init"));
    }
    if (init.Reentered() || Copy(&ServerReferences::configFactory))
    {
        return S_OK; // initialised already, or just being
    }
    XLXError::CheckPointer(factory, OLESTR("pConfigFactory"), LXManagerAt("Init"));
    auto factoryEx = XLXComPtr<ILXConfigFactory>(factory).As<ILXConfigFactoryEx>();
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        m_server.configFactory = factory; // null before, so nothing is released here
        m_server.configFactoryEx = factoryEx;
        m_server.query = query;
    }
    XLXError::CheckPointer(factoryEx.Get(), OLESTR("m_pConfigFactoryEx"), LXManagerAt("Init"));
    if (!m_bNoNotifications.load())
    {
        RegisterCallback(update, clientMode && separateCallback);
    }
    const HRESULT filled = InternalFillTypeMap();
    if (filled == S_OK)
    {
        CreateRelationManager();
    }
    return filled;
}

XLXComPtr<ILXCallbackUpdate>
XLXConfigFactoryCacheManager::ChooseCallback(bool separate, XLXComPtr<IXCfgCacheCallback>& separateCallback)
{
    ILXCallbackUpdate* const own = this;
    if (!separate)
    {
        return own;
    }
    const LXErrorLocation at = LXManagerAt("Init");
    HRESULT result = CoCreateInstance(CLSID_XCfgCacheCallback, nullptr, CLSCTX_ALL,
                                      LXIid<IXCfgCacheCallback>(), separateCallback.PutVoid());
    XLXError::RaiseIfFailed(result, OLESTR("CoCreateInstance(XCfgCacheCallback)"), at);
    result = separateCallback->Initialize(own);
    XLXError::RaiseIfFailed(result, OLESTR("XCfgCacheCallback::Initialize"), at);
    XLXComPtr<ILXCallbackUpdate> callback;
    result = separateCallback->QueryInterface(LXIid<ILXCallbackUpdate>(), callback.PutVoid());
    XLXError::RaiseIfFailed(result, OLESTR("m_pMTACallbackUpdate -> QueryInterface"), at);
    return callback;
}

// The callback holds the manager, so a registration that fails half-way must let go of it again: nobody calls
// Terminate on a manager that did not initialise.
void XLXConfigFactoryCacheManager::RegisterCallback(ILXDataUpdate* update, bool separateCallback)
{
    const LXErrorLocation at = LXManagerAt("Init");
    const XLXComBSTR computer = LXComputerName(OLESTR("GetComputerName failed"), at);
    XLXComPtr<IXCfgCacheCallback> separate;
    const XLXComPtr<ILXCallbackUpdate> callback = ChooseCallback(separateCallback, separate);

    LONG clientId = 0;
    LXServerCall("ILXDataUpdate::RegisterCallback");
    HRESULT result =
        update->RegisterCallback(computer.Get(), GetCurrentProcessId(), callback.Get(), &clientId);
    XLXError::RaiseIfFailed(result, OLESTR("RegisterCallback()"), at);
    result = SetCallbackId(clientId);
    for (const auto* dataType : {OLESTR("cfc"), OLESTR("cfc_specific")})
    {
        if (SUCCEEDED(result))
        {
            LXServerCall("ILXDataUpdate::EnableAdvicesDataType");
            result = update->EnableAdvicesDataType(clientId, XLXComBSTR(dataType).Get(), 1, AdvicesDesired);
        }
    }
    if (FAILED(result))
    {
        LXServerCall("ILXDataUpdate::UnregisterCallback");
        update->UnregisterCallback(clientId);
        XLXError::Raise(result, OLESTR("RegisterCallback()"), at);
    }
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    m_server.dataUpdate = update;
    m_server.registeredCallback = callback;
    m_server.separateCallback = separate;
}

// A relation manager that cannot load is logged and kept: its questions answer what there is.
void XLXConfigFactoryCacheManager::CreateRelationManager()
{
    auto relations = std::make_shared<XLXPCPartCacheMng>(*this);
    std::shared_ptr<XLXPCBaseMng> former = relations; // one that is left goes with no lock held
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        m_pPCPartCacheMng.swap(former);
    }
    XLXError::LogFailure(OLESTR("InternalFillParentChildMap failed"), LXManagerAt("Init"), [&] {
        XLXError::RaiseIfFailed(relations->InternalFillParentChildMap(), OLESTR(""), LXManagerAt("Init"));
    });
}

HRESULT XLXConfigFactoryCacheManager::AttachHostObjects(IUnknown* pHostObjectA, IUnknown* pHostObjectB)
{
    XLXComPtr<IUnknown> a(pHostObjectA);
    XLXComPtr<IUnknown> b(pHostObjectB);
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        m_server.hostObjectA.Swap(a);
        m_server.hostObjectB.Swap(b);
    }
    s_hostObjectsAttached.store(true, std::memory_order_relaxed);
    return S_OK;
}

XLXConfigFactoryCacheManager::ServerReferences XLXConfigFactoryCacheManager::TakeServerReferences() noexcept
{
    const std::lock_guard<XLeafMutex> lock(m_mutex);
    m_lLastNotificationId.reset();
    return std::exchange(m_server, ServerReferences{});
}

// Each step goes on when the one before failed; every container is emptied under its lock and its objects are
// terminated outside it.
void XLXConfigFactoryCacheManager::EmptyCaches() noexcept
{
    const LXErrorLocation at = LXManagerAt("Terminate");
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapBrowserid failed"), at,
                         [&] { m_browsers.TerminateBrowserIds(); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapPCinfo failed"), at,
                         [&] { m_browsers.TerminatePCInfos(false); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapPCinfoNew failed"), at,
                         [&] { m_browsers.TerminatePCInfos(true); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapType failed"), at,
                         [&] { m_types.TerminateAndClear(); });
    XLXError::LogFailure(OLESTR("clearing the type inheritance information failed"), at,
                         [&] { m_inheritance.Clear(); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_setGlobalAttributeFormatSpecCache failed"),
                         at, [&] { m_globalSpecs.TerminateAndClear(); });
    XLXError::LogFailure(OLESTR("clearing the plan types failed"), at, [&] { m_planTypes.Clear(); });
}

HRESULT XLXConfigFactoryCacheManager::Terminate()
{
    const LXErrorLocation at = LXManagerAt("Terminate");
    return XLXError::Guarded(at, [&]() -> HRESULT {
        std::shared_ptr<XLXPCBaseMng> relations;
        ServerReferences server;
        {
            // A server may end the cache from inside a call: that does not wait for who initialises
            // meanwhile.
            const XFillGuard init(m_init, XFillGuard::NoWaitInsideFills());
            EmptyCaches();
            server = TakeServerReferences();
            // Together, since the server may initialise the cache anew from inside UnregisterCallback.
            const std::lock_guard<XLeafMutex> lock(m_mutex);
            relations.swap(m_pPCPartCacheMng);
        }
        // The server may wait in UnregisterCallback for notifications that are under way: nothing is held
        // here.
        if (server.dataUpdate && !m_bNoNotifications.load())
        {
            XLXError::LogFailure(OLESTR("m_pDataUpdate->UnregisterCallback failed"), at, [&] {
                m_lClientId.Lock();
                const LONG clientId = m_lClientId;
                m_lClientId.Unlock();
                LXServerCall("ILXDataUpdate::UnregisterCallback");
                XLXError::RaiseIfFailed(server.dataUpdate->UnregisterCallback(clientId), OLESTR(""), at);
            });
        }
        return S_OK;
    });
}

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
            const XFill init(m_init, &m_init, XFillKind::Lifecycle);
            if (!Connection())
            {
                m_bNoNotifications.store(arguments.noNotifications);
            }
        }
        return Init(arguments.factory.Get(), arguments.query.Get(), arguments.update.Get(), true,
                    arguments.separateCallback);
    });
}

/// Takes the callback's registration back unless the initialisation succeeds: nobody calls Terminate on a manager that
/// did not initialise, and the server's reference to the callback keeps the manager alive.
class XLXConfigFactoryCacheManager::Registration
{
public:
    Registration(XLXConfigFactoryCacheManager& manager, XConnection& connection) noexcept
        : m_manager(manager), m_connection(connection)
    {}
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration()
    {
        if (!m_kept)
        {
            m_manager.Unregister(m_connection);
        }
    }
    void Keep() noexcept { m_kept = true; }

private:
    XLXConfigFactoryCacheManager& m_manager;
    XConnection& m_connection;
    bool m_kept = false;
};

HRESULT XLXConfigFactoryCacheManager::Init(ILXConfigFactory* factory, ILX_Query* query, ILXDataUpdate* update,
                                           bool clientMode, bool separateCallback)
{
    const XFill init(m_init, &m_init, XFillKind::Lifecycle);
    if (!m_bNoNotifications.load())
    {
        XLXError::CheckPointer(update, OLESTR("pDataUpdate"), LXManagerAt("Init"));
    }
    if (init.IsReentered() || init.IsBusyElsewhere() || Connection())
    {
        return S_OK; // initialised already, or just being
    }
    XLXError::CheckPointer(factory, OLESTR("pConfigFactory"), LXManagerAt("Init"));
    const auto connection = std::make_shared<XConnection>();
    connection->configFactory = factory;
    connection->configFactoryEx = connection->configFactory.As<ILXConfigFactoryEx>();
    connection->query = query;
    BeginCaches(connection->clock);
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        m_connection = connection; // null before, so nothing is released here
    }
    XLXError::CheckPointer(connection->configFactoryEx.Get(), OLESTR("m_pConfigFactoryEx"), LXManagerAt("Init"));
    Registration registration(*this, *connection);
    if (!m_bNoNotifications.load())
    {
        RegisterCallback(*connection, update, clientMode && separateCallback);
    }
    XTypeMapPtr types;
    const HRESULT filled = InternalFillTypeMap(types);
    if (filled == S_OK)
    {
        CreateRelationManager(*connection);
    }
    registration.Keep();
    return filled;
}

// The caches take answers of the new connection before anybody can ask through it.
void XLXConfigFactoryCacheManager::BeginCaches(const XClockPtr& clock)
{
    m_types.Begin(clock);
    m_browsers.Begin(clock);
    m_globalSpecs.Begin(clock);
    m_planTypes.Begin(clock);
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

void XLXConfigFactoryCacheManager::RegisterCallback(XConnection& connection, ILXDataUpdate* update,
                                                    bool separateCallback)
{
    const LXErrorLocation at = LXManagerAt("Init");
    const XLXComBSTR computer = LXComputerName(OLESTR("GetComputerName failed"), at);
    XLXComPtr<IXCfgCacheCallback> separate;
    XLXComPtr<ILXCallbackUpdate> callback = ChooseCallback(separateCallback, separate);

    LONG clientId = 0;
    LXServerCall("ILXDataUpdate::RegisterCallback");
    HRESULT result =
        update->RegisterCallback(computer.Get(), GetCurrentProcessId(), callback.Get(), &clientId);
    XLXError::RaiseIfFailed(result, OLESTR("RegisterCallback()"), at);
    bool isOver = false;
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        isOver = connection.over;
        connection.clientId = clientId;
        connection.dataUpdate = update;
        connection.registeredCallback.Swap(callback);
        connection.separateCallback.Swap(separate);
    }
    for (const auto* dataType : {OLESTR("cfc"), OLESTR("cfc_specific")})
    {
        if (SUCCEEDED(result) && !isOver)
        {
            LXServerCall("ILXDataUpdate::EnableAdvicesDataType");
            result = update->EnableAdvicesDataType(clientId, XLXComBSTR(dataType).Get(), 1, AdvicesDesired);
        }
    }
    XLXError::RaiseIfFailed(result, OLESTR("RegisterCallback()"), at);
}

// Takes the registration first, so that it is taken back once, whoever comes.
void XLXConfigFactoryCacheManager::Unregister(XConnection& connection) noexcept
{
    XLXComPtr<ILXDataUpdate> update;
    XLXComPtr<ILXCallbackUpdate> callback;
    XLXComPtr<IXCfgCacheCallback> separate;
    LONG clientId = 0;
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        connection.dataUpdate.Swap(update);
        connection.registeredCallback.Swap(callback);
        connection.separateCallback.Swap(separate);
        clientId = connection.clientId;
    }
    // The server may wait in UnregisterCallback for notifications that are under way: nothing is held here.
    if (update)
    {
        const LXErrorLocation at = LXManagerAt("Terminate");
        XLXError::LogFailure(OLESTR("m_pDataUpdate->UnregisterCallback failed"), at, [&] {
            LXServerCall("ILXDataUpdate::UnregisterCallback");
            XLXError::RaiseIfFailed(update->UnregisterCallback(clientId), OLESTR(""), at);
        });
    }
}

// A relation manager that cannot load is logged and kept: its questions answer what there is.
void XLXConfigFactoryCacheManager::CreateRelationManager(XConnection& connection)
{
    const auto relations = std::make_shared<XLXPCPartCacheMng>(*this, connection.clock);
    {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        if (connection.over)
        {
            return;
        }
        connection.relations = relations;
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
        m_pHostObjectA.Swap(a);
        m_pHostObjectB.Swap(b);
    }
    s_hostObjectsAttached.store(true, std::memory_order_relaxed);
    return S_OK;
}

// Each step goes on when the one before failed; every container is emptied under its lock and its objects are
// terminated outside it. What belongs to another connection stays.
void XLXConfigFactoryCacheManager::EmptyCaches(const XClockPtr& clock) noexcept
{
    const LXErrorLocation at = LXManagerAt("Terminate");
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapBrowserid failed"), at,
                         [&] { m_browsers.TerminateBrowserIds(clock); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapPCinfo failed"), at,
                         [&] { m_browsers.TerminatePCInfos(clock, false); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminate m_mapPCinfoNew failed"), at,
                         [&] { m_browsers.TerminatePCInfos(clock, true); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapType failed"), at,
                         [&] { m_types.TerminateAndClear(clock); });
    XLXError::LogFailure(OLESTR("clearing the type inheritance information failed"), at,
                         [&] { m_inheritance.Clear(); });
    XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_setGlobalAttributeFormatSpecCache failed"),
                         at, [&] { m_globalSpecs.TerminateAndClear(clock); });
    XLXError::LogFailure(OLESTR("clearing the plan types failed"), at, [&] { m_planTypes.End(clock); });
}

// The connection ends first: what arrives from then on is entered nowhere. A server may end the cache from inside a
// call: that does not wait for who initialises meanwhile.
HRESULT XLXConfigFactoryCacheManager::Terminate()
{
    return XLXError::Guarded(LXManagerAt("Terminate"), [&]() -> HRESULT {
        std::shared_ptr<XConnection> ended;
        std::shared_ptr<XLXPCBaseMng> relations;
        XLXComPtr<IUnknown> a;
        XLXComPtr<IUnknown> b;
        {
            const XFill init(m_init, &m_init, XFillKind::Lifecycle);
            {
                const std::lock_guard<XLeafMutex> lock(m_mutex);
                ended.swap(m_connection);
                m_pHostObjectA.Swap(a);
                m_pHostObjectB.Swap(b);
                if (ended)
                {
                    ended->over = true;
                    ended->relations.swap(relations);
                }
            }
            if (ended)
            {
                EmptyCaches(ended->clock);
            }
        }
        if (ended)
        {
            Unregister(*ended);
        }
        return S_OK;
    });
}

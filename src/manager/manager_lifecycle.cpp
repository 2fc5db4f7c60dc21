// SPDX-License-Identifier: MIT
//
// Initialisation, registration of the callback, and Terminate.
#include "XCountedLock.h"
#include "lxconfigfactorycachemanager.h"

namespace {
constexpr const OLECHAR* ModeConflictText =
    OLESTR("initializing the CFC has already be called from serverside and cannot be used in a client application");
constexpr ULONG AdvicesDesired = 0x100;

/// The interface of an object in a value. Returns E_POINTER for a null or empty value, DISP_E_TYPEMISMATCH for a value
/// of another type, and the failure of QueryInterface.
template <class T> HRESULT InterfaceIn(const XLXComVariant& value, XLXComPtr<T>& result) {
    if (IUnknown* const object = value.AsUnknown(); object != nullptr) { return LXQuery(*object, result); }
    const VARTYPE type = value.Type();
    return type == VT_UNKNOWN || type == VT_DISPATCH || type == VT_EMPTY ? E_POINTER : DISP_E_TYPEMISMATCH;
}

void LogOtherServer(const XLXComPtr<ILXConfigFactory>& first, const XLXComPtr<ILXConfigFactory>& other) {
    if (other && !(first.As<IUnknown>() == other.As<IUnknown>())) {
        XLXError::WriteErrorToLogBook(S_FALSE, XLXError::SeverityError,
                                      OLESTR("the cache is initialised already, with another server, and stays so"),
                                      LXManagerAt("Init"));
    }
}
} // namespace

// The first initialisation determines the mode for the manager's whole life.
template <class Impl> void XLXConfigFactoryCacheManager::InstallImpl() {
    XLXCFCMngImpl* impl = m_pImpl.load();
    if (impl == nullptr) {
        auto made = std::make_unique<Impl>(*this);
        if (m_pImpl.compare_exchange_strong(impl, made.get())) { impl = made.release(); }
    }
    if (dynamic_cast<Impl*>(impl) == nullptr) { XLXError::Raise(E_FAIL, ModeConflictText, LXManagerAt("Initialize")); }
}

/// The arguments of an initialisation. They are read before the manager changes.
struct XLXConfigFactoryCacheManager::InitArguments {
    XLXComPtr<ILXConfigFactory> factory;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> update;
    bool clientMode = false;
    bool noNotifications = false;
    bool separateCallback = false;
    std::optional<LONG> transferMode{};

    /// Stores the service with that name. Only the query may be null or empty.
    HRESULT TakeNamed(XLXTextView name, const VARIANT& value);
    /// Reads the values of a client's initialisation; VT_BYREF values are dereferenced. Raises if one is invalid.
    void Read(ULONG count, const VARIANT* values);
};

HRESULT XLXConfigFactoryCacheManager::InitArguments::TakeNamed(XLXTextView name, const VARIANT& value) {
    const bool isQuery = name == OLESTR("QueryEngine");
    IUnknown* const object = V_VT(&value) == VT_UNKNOWN ? V_UNKNOWN(&value) : nullptr;
    if (object == nullptr) {
        return isQuery && (V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_UNKNOWN) ? S_OK : E_INVALIDARG;
    }
    return isQuery                           ? LXQuery(*object, query)
           : name == OLESTR("Configfactory") ? LXQuery(*object, factory)
           : name == OLESTR("UpdateMng")     ? LXQuery(*object, update)
                                             : E_INVALIDARG;
}

void XLXConfigFactoryCacheManager::InitArguments::Read(ULONG count, const VARIANT* values) {
    const auto value = [&](ULONG index) { return XLXComVariant::CopyOf(values[index]); };
    const auto check = [](HRESULT result, const OLECHAR* failureText) {
        XLXError::RaiseIfFailed(result, failureText, LXManagerAt("Initialize"));
    };
    const auto flag = [&](ULONG index, const OLECHAR* failureText) {
        const auto isSet = value(index).AsBool();
        check(isSet ? S_OK : DISP_E_TYPEMISMATCH, failureText);
        return *isSet;
    };
    clientMode = true;
    check(InterfaceIn(value(0), factory), OLESTR("value 0 must be an object with ILXConfigFactory"));
    if (const XLXComVariant object = value(1); object.AsUnknown() != nullptr) {
        check(InterfaceIn(object, query), OLESTR("value 1 must be an object with ILX_Query, or empty"));
    }
    noNotifications = flag(3, OLESTR("value 3 must be a boolean: no notifications"));
    separateCallback = count > 4 && flag(4, OLESTR("value 4 must be a boolean: a separate callback object"));
    if (count > 5) {
        transferMode = value(5).AsLong();
        check(transferMode ? S_OK : DISP_E_TYPEMISMATCH, OLESTR("value 5 must be a number: the data transfer mode"));
    }
    if (!noNotifications) {
        check(InterfaceIn(value(2), update),
              OLESTR("value 2 must be an object with ILXDataUpdate, unless value 3 is true"));
    }
}

HRESULT XLXConfigFactoryCacheManager::Initialize(ILXConfigFactory* pConfigFactory, ILX_Query* pQuery,
                                                 ILXDataUpdate* pDataUpdate) {
    return XLXError::Guarded(LXManagerAt("Initialize"), [&] {
        InstallImpl<XLXCFCMngImplServer>();
        return Init({pConfigFactory, pQuery, pDataUpdate});
    });
}

HRESULT XLXConfigFactoryCacheManager::InitializeNamed(ULONG count, tagLXNamedValue* values) {
    return XLXError::Guarded(LXManagerAt("InitializeNamed"), [&]() -> HRESULT {
        if (count != 3) { return E_INVALIDARG; }
        XLXError::CheckPointer(values, OLESTR("values"), LXManagerAt("InitializeNamed"));
        InitArguments named;
        for (ULONG i = 0; i < count; ++i) {
            if (FAILED(named.TakeNamed(LXBstrView(values[i].bstrName), values[i].varValue))) { return E_INVALIDARG; }
        }
        return Initialize(named.factory.Get(), named.query.Get(), named.update.Get());
    });
}

HRESULT XLXConfigFactoryCacheManager::Initialize(ULONG count, VARIANT* values) {
    const LXErrorLocation at = LXManagerAt("Initialize");
    return XLXError::Guarded(at, [&] {
        if (count < 4 || count > 6) {
            XLXError::Raise(E_INVALIDARG, XLXFormat() << "an initialisation takes 4 to 6 values, not " << LONG(count),
                            at);
        }
        XLXError::CheckPointer(values, OLESTR("values"), at);
        InitArguments arguments;
        arguments.Read(count, values);
        InstallImpl<XLXCFCMngImplClient>();
        return Init(arguments);
    });
}

// A second initialisation changes nothing. While another one is in progress, its server may not be known yet; then a
// different server is not logged.
HRESULT XLXConfigFactoryCacheManager::Init(const InitArguments& arguments) {
    const LXErrorLocation at = LXManagerAt("Init");
    const XFill init(m_init, &m_init, XFillKind::Lifecycle);
    XLXError::CheckPointer(arguments.noNotifications ? this : static_cast<void*>(arguments.update.Get()),
                           OLESTR("pDataUpdate"), at);
    if (const auto current = Connection(); current || init.IsReentered() || init.IsBusyElsewhere()) {
        if (current) { LogOtherServer(current->configFactory, arguments.factory); }
        return S_OK;
    }
    XLXError::CheckPointer(arguments.factory.Get(), OLESTR("pConfigFactory"), at);
    const XConnectionPtr connection = Begin(arguments);
    // After a failure the callback is unregistered: a client need not call Terminate on a manager that failed to
    // initialise, and the server's reference to the callback would keep the manager alive.
    const auto unregister = [this](XConnection* begun) { Unregister(*begun); };
    std::unique_ptr<XConnection, decltype(unregister)> unlessDone(connection.get(), unregister);
    if (!arguments.noNotifications) {
        RegisterCallback(*connection, arguments.update.Get(), arguments.clientMode && arguments.separateCallback);
        // No edits were reported before the registration, so data that other threads have loaded may be stale.
        connection->clock->Advance(XAspectSet::All());
    }
    const HRESULT filled = LXRaisedAt(at, [&] { return InternalFillTypeMap().second; });
    if (filled == S_OK) { CreateRelationManager(*connection); }
    (void)unlessDone.release();
    return filled;
}

XTypeHostPtr XLXConfigFactoryCacheManager::MakeTypeHost(const XClockPtr& clock) const {
    constexpr XAspectSet values{XAspect::TypeValues,          XAspect::AttributeValues, XAspect::AttributeTypes,
                                XAspect::AttributeTypeValues, XAspect::PageValues,      XAspect::GroupValues,
                                XAspect::EditorValues};
    auto refill = std::make_shared<XRefill>(clock, values, m_costs, [clock, link = m_selfLink] {
        if (const auto manager = link.Lock()) { manager->Impl("RefillTypes").RefillTypes(clock); }
    });
    auto getType = [clock, link = m_selfLink](XLXTextView name) {
        const auto manager = link.Lock();
        return manager ? manager->ServerType(clock, name) : nullptr;
    };
    return std::make_shared<const XTypeHost>(XTypeHost{std::move(refill), std::move(getType)});
}

XFactorySourcePtr XLXConfigFactoryCacheManager::MakeFactorySource(const XClockPtr& clock) const {
    return std::make_shared<const XFactorySource>([clock, link = m_selfLink] {
        const auto manager = link.Lock();
        const auto connection = manager ? manager->ConnectionWith(clock) : nullptr;
        return connection ? connection->configFactory : XLXComPtr<ILXConfigFactory>();
    });
}

XRefillPtr XLXConfigFactoryCacheManager::MakeRelationsRefill(const XClockPtr& clock) const {
    return std::make_shared<XRefill>(clock, XAspect::RelationValues, m_costs, [clock, link = m_selfLink] {
        const auto manager = link.Lock();
        if (manager && manager->ConnectionWith(clock)) {
            manager->RelationManager("RefillRelations")->RefillRelations();
        }
    });
}

// The caches accept answers of the new connection before anybody can ask through it. In server mode the locks of the
// process are turned off once the arguments are accepted.
XConnectionPtr XLXConfigFactoryCacheManager::Begin(const InitArguments& arguments) {
    auto connection = std::make_shared<XConnection>(arguments.factory, arguments.query);
    const auto begin = [&](auto&... caches) { (caches.Begin(connection->clock), ...); };
    m_types.Begin(connection->clock, MakeTypeHost(connection->clock));
    begin(m_browsers, m_pcInfos, m_pcInfosNew, m_globalSpecs, m_planTypes);
    {
        const XLeafLock lock(m_mutex);
        m_connection = connection; // null before, so nothing is released here
    }
    (void)connection->Bulk("Init");
    if (arguments.transferMode) { m_transferMode->Set(*arguments.transferMode); }
    if (!arguments.clientMode) { XLockSwitch::TurnOff(); }
    return connection;
}

void XLXConfigFactoryCacheManager::RegisterCallback(XConnection& connection, ILXDataUpdate* update,
                                                    bool separateCallback) {
    const auto check = [](HRESULT result, const OLECHAR* failureText) {
        XLXError::RaiseIfFailed(result, failureText, LXManagerAt("Init"));
    };
    const XLXComBSTR computer = LXComputerName(OLESTR("GetComputerName failed"), LXManagerAt("Init"));
    XConnection::Registration made;
    made.update = update;
    made.callback = this;
    if (separateCallback) {
        check(CoCreateInstance(CLSID_XCfgCacheCallback, nullptr, CLSCTX_ALL, LXIid<IXCfgCacheCallback>(),
                               made.separateCallback.PutVoid()),
              OLESTR("CoCreateInstance(XCfgCacheCallback)"));
        check(made.separateCallback->Initialize(this), OLESTR("XCfgCacheCallback::Initialize"));
        check(made.separateCallback->QueryInterface(LXIid<ILXCallbackUpdate>(), made.callback.PutVoid()),
              OLESTR("m_pMTACallbackUpdate -> QueryInterface"));
    }
    // The calls below do little work, so their times measure the cost of a call before any value is read.
    LXServerCall("ILXDataUpdate::RegisterCallback");
    HRESULT result = m_costs->Timed([&] {
        return update->RegisterCallback(computer.Get(), GetCurrentProcessId(), made.callback.Get(), &made.clientId);
    });
    check(result, OLESTR("RegisterCallback()"));
    const LONG clientId = made.clientId;
    const bool isOver = [&] {
        const XLeafLock lock(m_mutex);
        std::swap(connection.registration, made);
        return connection.over;
    }();
    for (const auto* dataType : {OLESTR("cfc"), OLESTR("cfc_specific")}) {
        if (SUCCEEDED(result) && !isOver) {
            LXServerCall("ILXDataUpdate::EnableAdvicesDataType");
            result = m_costs->Timed(
                [&] { return update->EnableAdvicesDataType(clientId, XLXComBSTR(dataType).Get(), 1, AdvicesDesired); });
        }
    }
    check(result, OLESTR("RegisterCallback()"));
}

// Takes the registration out of the connection first, so that concurrent callers unregister only once. The server may
// wait in UnregisterCallback for notifications in progress, so no lock is held across that call.
void XLXConfigFactoryCacheManager::Unregister(XConnection& connection) noexcept {
    XConnection::Registration taken;
    {
        const XLeafLock lock(m_mutex);
        std::swap(connection.registration, taken);
    }
    if (taken.update) {
        const LXErrorLocation at = LXManagerAt("Terminate");
        XLXError::LogFailure(OLESTR("m_pDataUpdate->UnregisterCallback failed"), at, [&] {
            LXServerCall("ILXDataUpdate::UnregisterCallback");
            XLXError::RaiseIfFailed(taken.update->UnregisterCallback(taken.clientId), OLESTR(""), at);
        });
    }
}

// If the relations cannot be loaded, the failure is logged and the relation manager is kept. Its queries find none
// until a notification concerns them.
void XLXConfigFactoryCacheManager::CreateRelationManager(XConnection& connection) {
    const auto relations = std::make_shared<XLXPCPartCacheMng>(
        *this, connection.clock, MakeRelationsRefill(connection.clock), MakeFactorySource(connection.clock));
    {
        const XLeafLock lock(m_mutex);
        if (connection.over) { return; }
        connection.relations = relations;
    }
    XLXError::LogFailure(OLESTR("InternalFillParentChildMap failed"), LXManagerAt("Init"),
                         [&] { relations->InternalFillParentChildMap(); });
}

HRESULT XLXConfigFactoryCacheManager::AttachHostObjects(IUnknown* pHostObjectA, IUnknown* pHostObjectB) {
    HostObjects objects{pHostObjectA, pHostObjectB};
    const XLeafLock lock(m_mutex);
    m_hostObjects.swap(objects);
    return S_OK;
}

// Logs the failure of a step and continues with the next one. Each container is emptied under its lock, and its objects
// are terminated outside it. Data of another connection stays.
void XLXConfigFactoryCacheManager::EmptyCaches(const XClockPtr& clock) noexcept {
    const auto end = [&clock](const OLECHAR* failureText, auto& cache) {
        XLXError::LogFailure(failureText, LXManagerAt("Terminate"), [&] { cache.End(clock); });
    };
    end(OLESTR("CFCTools::MapTerminate m_mapBrowserid failed"), m_browsers);
    end(OLESTR("CFCTools::MapTerminate m_mapPCinfo failed"), m_pcInfos);
    end(OLESTR("CFCTools::MapTerminate m_mapPCinfoNew failed"), m_pcInfosNew);
    end(OLESTR("CFCTools::MapTerminateAndClear m_mapType failed"), m_types);
    end(OLESTR("clearing the type inheritance information failed"), m_inheritance);
    end(OLESTR("CFCTools::MapTerminateAndClear m_setGlobalAttributeFormatSpecCache failed"), m_globalSpecs);
    end(OLESTR("clearing the plan types failed"), m_planTypes);
}

// Ends the connection first, so that answers that arrive later are not cached. A server may call Terminate from inside
// a call of the cache; then Terminate does not wait for an initialisation in progress.
HRESULT XLXConfigFactoryCacheManager::Terminate() {
    return XLXError::Guarded(LXManagerAt("Terminate"), [&]() -> HRESULT {
        XConnectionPtr ended;
        std::shared_ptr<XLXPCPartCacheMng> relations;
        HostObjects objects;
        {
            const XFill init(m_init, &m_init, XFillKind::Lifecycle);
            {
                const XLeafLock lock(m_mutex);
                ended.swap(m_connection);
                objects.swap(m_hostObjects);
                if (ended) {
                    ended->over = true;
                    ended->relations.swap(relations);
                }
            }
            if (ended) { EmptyCaches(ended->clock); }
        }
        if (ended) { Unregister(*ended); }
        return S_OK;
    });
}

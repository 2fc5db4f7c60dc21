// SPDX-License-Identifier: MIT
//
// The connection: the period from a manager's initialisation to its Terminate.
#ifndef XCONNECTION_H
#define XCONNECTION_H

#include "XRelationHost.h"

#include <optional>

class XLXPCPartCacheMng;

/// The manager's state that belongs to the server. An operation holds a reference to the connection while it asks the
/// server, so all its requests go to the same connection.
struct XConnection {
    XConnection(XLXComPtr<ILXConfigFactory> factory, XLXComPtr<ILX_Query> queryObject)
        : configFactory(std::move(factory)),
          configFactoryEx(configFactory.As<ILXConfigFactoryEx>()),
          query(std::move(queryObject)) {}

    /// The interface for bulk reads; raises E_POINTER when the server does not have it.
    ILXConfigFactoryEx& Bulk(const char* method) const {
        XLXError::CheckPointer(configFactoryEx.Get(), OLESTR("m_pConfigFactoryEx"), LXManagerAt(method));
        return *configFactoryEx;
    }

    // Immutable:
    const XClockPtr clock{new XClock}; ///< also identifies the connection
    const XLXComPtr<ILXConfigFactory> configFactory;
    const XLXComPtr<ILXConfigFactoryEx> configFactoryEx;
    const XLXComPtr<ILX_Query> query;

    // Guarded by the manager's leaf mutex:
    struct Registration {
        XLXComPtr<ILXDataUpdate> update; ///< the service that the callback is registered with; null: not registered
        XLXComPtr<ILXCallbackUpdate> callback;
        XLXComPtr<IXCfgCacheCallback> separateCallback;
        LONG clientId = 0;
    } registration;
    std::shared_ptr<XLXPCPartCacheMng> relations; ///< null until the types have been loaded
    std::optional<ULONG> lastNotificationId;      ///< empty until a notification was handled
    bool over = false;                            ///< set by Terminate
};
using XConnectionPtr = std::shared_ptr<XConnection>;

/// Owns the connection: the part of the manager that its registries use.
class XConnectionOwner {
public:
    /// The connection, or null.
    XConnectionPtr Connection() const noexcept {
        const XLeafLock lock(m_mutex);
        return m_connection;
    }
    /// The connection with that clock; null if it is over, even if there is another one now.
    XConnectionPtr ConnectionWith(const XClockPtr& clock) const noexcept {
        XConnectionPtr connection = Connection();
        return connection && connection->clock == clock ? connection : nullptr;
    }
    /// The connection; raises E_POINTER when there is none.
    XConnectionPtr Access(const char* method) const {
        XConnectionPtr connection = Connection();
        XLXError::CheckPointer(connection.get(), OLESTR("m_pConfigFactory"), LXManagerAt(method));
        return connection;
    }

protected:
    ~XConnectionOwner() = default;

    mutable XLeafMutex m_mutex; // guards the connection's mutable members too
    XConnectionPtr m_connection LX_GUARDED_BY(m_mutex);
};

#endif

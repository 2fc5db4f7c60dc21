// SPDX-License-Identifier: MIT
//
// The time from a manager's initialisation to its Terminate.
#ifndef XCONNECTION_H
#define XCONNECTION_H

#include "XRelationHost.h"

#include <optional>

class XLXPCPartCacheMng;

/// What the manager has of the server while it is initialised. Whoever asks the server keeps the connection for that
/// time, so that all that he asks is of one connection.
struct XConnection {
    XConnection(XLXComPtr<ILXConfigFactory> factory, XLXComPtr<ILX_Query> queryObject)
        : configFactory(std::move(factory)),
          configFactoryEx(configFactory.As<ILXConfigFactoryEx>()),
          query(std::move(queryObject)) {}

    /// The interface of the bulk reads; raises E_POINTER when the server has none.
    ILXConfigFactoryEx& Bulk(const char* method) const {
        XLXError::CheckPointer(configFactoryEx.Get(), OLESTR("m_pConfigFactoryEx"), LXManagerAt(method));
        return *configFactoryEx;
    }

    // These never change
    const XClockPtr clock{new XClock}; ///< what the connection is known by
    const XLXComPtr<ILXConfigFactory> configFactory;
    const XLXComPtr<ILXConfigFactoryEx> configFactoryEx;
    const XLXComPtr<ILX_Query> query;

    // The manager's leaf mutex guards these
    struct Registration {
        XLXComPtr<ILXDataUpdate> update; ///< where the callback is registered; null: it is not
        XLXComPtr<ILXCallbackUpdate> callback;
        XLXComPtr<IXCfgCacheCallback> separateCallback;
        LONG clientId = 0;
    } registration;
    std::shared_ptr<XLXPCPartCacheMng> relations; ///< null until the types were read
    std::optional<ULONG> lastNotificationId;      ///< none until a notification was handled
    bool over = false;                            ///< Terminate has ended it
};
using XConnectionPtr = std::shared_ptr<XConnection>;

/// Who has a connection: the manager, for its registries.
class XConnectionOwner {
public:
    /// The connection; null: there is none.
    XConnectionPtr Connection() const noexcept {
        const std::lock_guard<XLeafMutex> lock(m_mutex);
        return m_connection;
    }
    /// The same; raises E_POINTER when there is none.
    XConnectionPtr Access(const char* method) const {
        XConnectionPtr connection = Connection();
        XLXError::CheckPointer(connection.get(), OLESTR("m_pConfigFactory"), LXManagerAt(method));
        return connection;
    }

protected:
    ~XConnectionOwner() = default;

    mutable XLeafMutex m_mutex; // guards the connection, and what it has that changes
    XConnectionPtr m_connection;
};

#endif

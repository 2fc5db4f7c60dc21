// SPDX-License-Identifier: MIT
//
// The time from a manager's initialisation to its Terminate.
#ifndef XCONNECTION_H
#define XCONNECTION_H

#include "XClock.h"
#include "XTypeRecord.h"

#include <optional>

class XLXPCPartCacheMng;

/// What the manager has of the server while it is initialised. The manager's leaf mutex guards everything but the
/// clock, which never changes: it is what a connection is known by.
struct XConnection {
    const XClockPtr clock{new XClock};

    XLXComPtr<ILXConfigFactory> configFactory;
    XLXComPtr<ILXConfigFactoryEx> configFactoryEx;
    XLXComPtr<ILX_Query> query;
    XLXComPtr<ILXDataUpdate> dataUpdate; ///< where the callback is registered; null: it is not
    XLXComPtr<ILXCallbackUpdate> registeredCallback;
    XLXComPtr<IXCfgCacheCallback> separateCallback;
    LONG clientId = 0;
    std::shared_ptr<XLXPCPartCacheMng> relations; ///< null until the types were read
    std::optional<ULONG> lastNotificationId;      ///< none until a notification was handled
    bool over = false;                            ///< Terminate has ended it
};

/// What a question takes of the connection before it asks the server: all of one connection.
struct XServerAccess {
    XLXComPtr<ILXConfigFactory> configFactory;
    XLXComPtr<ILXConfigFactoryEx> configFactoryEx;
    XLXComPtr<ILX_Query> query;
    XClockPtr clock;

    /// The interface of the bulk reads; raises E_POINTER when the server has none.
    ILXConfigFactoryEx& Bulk(const char* method) const {
        XLXError::CheckPointer(configFactoryEx.Get(), OLESTR("m_pConfigFactoryEx"), LXManagerAt(method));
        return *configFactoryEx;
    }
};

/// The objects of a map, which may be null, in key order.
template <class Interface, class Map>
std::vector<XLXComPtr<Interface>> LXObjectsOf(const Map* map) {
    std::vector<XLXComPtr<Interface>> objects;
    if (map != nullptr) {
        for (const auto& [key, object] : *map) {
            objects.emplace_back(object);
        }
    }
    return objects;
}

#endif

// SPDX-License-Identifier: MIT
//
// A server as somebody else writes it, by hand and from the guide alone: one object is config factory, bulk reads and,
// if wanted, notifications. There is no query object. Its property 3 of an attribute is the supplier, and property 4,
// which is a unit elsewhere, is nothing.
#ifndef HANDSERVER_H
#define HANDSERVER_H

#include <LXConfigFactoryCache.h>

/// Lets COM find the server in this process by "LXHandServer.Catalogue" and by its class id.
/// @param offersUpdate  whether it offers ILXDataUpdate
/// @param edits         whether the supplier of Item/Weight changes all the time, as long as there are clients
HRESULT LXRegisterHandServer(bool offersUpdate, bool edits, DWORD* cookie);
/// Gives a client the server in this process.
HRESULT LXConnectHandServer(bool offersUpdate, bool edits, REFIID iid, void** object);

#endif

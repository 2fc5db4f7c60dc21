/* SPDX-License-Identifier: MIT
 *
 * A small configuration server in the client's process, for a cache to use: two types with one attribute each; Pump
 * derives from Part. Setting a property of one of its objects notifies the clients.
 *
 * minimal_server.cpp is linked to the example clients, and also built as a shared library that lxcfc loads.
 */
#ifndef MINIMAL_SERVER_H
#define MINIMAL_SERVER_H

#include <LXConfigFactoryCache.h>

/* The two services that the cache needs. The caller releases both. */
EXTERN_C HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate);

#endif

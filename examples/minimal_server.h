/* SPDX-License-Identifier: MIT
 *
 * A small configuration server that the cache can be put in front of, in the process of its client: two types, one
 * attribute each. Pump derives from Part. Setting a property of one of its objects notifies the clients.
 *
 * minimal_server.cpp is linked to the clients of the examples, and built as a library of its own that lxcfc loads.
 */
#ifndef MINIMAL_SERVER_H
#define MINIMAL_SERVER_H

#include <LXConfigFactoryCache.h>

/* The two services that the cache needs. The caller releases both. */
EXTERN_C HRESULT CreateMinimalServer(ILXConfigFactory** ppConfigFactory, ILXDataUpdate** ppDataUpdate);

#endif

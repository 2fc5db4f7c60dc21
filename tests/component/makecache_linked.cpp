// SPDX-License-Identifier: MIT
#include "cachefixture.h"
#include "lxconfigfactorycachemanager.h"
#include "lxtestrunner.h"

XLXComPtr<ILXConfigFactoryCache> LXMakeCache() { return new XLXConfigFactoryCacheManager; }

namespace {
const LXLiveCounter g_liveObjects("objects of the component", [] { return XModuleCount::LiveObjects(); });
const LXLiveCounter g_serverObjects("objects of the sample server",
                                    [] { return XSampleServer::LiveObjectsOfAllServers(); });
} // namespace

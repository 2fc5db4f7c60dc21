// SPDX-License-Identifier: MIT
//
// Creates the cache as a program does: registers the module and activates the class.
#include "cachefixture.h"
#include "lxtestrunner.h"
#include "modulefile.h"

#include <objbase.h>

XLXComPtr<ILXConfigFactoryCache> LXMakeCache() {
    XLXComPtr<ILXConfigFactoryCache> cache;
    EXPECT_EQ(CoCreateInstance(CLSID_LXConfigFactoryCache, nullptr, CLSCTX_INPROC_SERVER,
                               LXIid<ILXConfigFactoryCache>(), cache.PutVoid()),
              S_OK);
    return cache;
}

namespace {
class Registered : public testing::Environment {
    void SetUp() override {
        ASSERT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        ASSERT_EQ(RegisterModule(), S_OK);
    }
    void TearDown() override {
        {
            const ModuleFile module;
            EXPECT_EQ(module.CanUnloadNow(), S_OK) << "an object of the component is still alive";
        }
        EXPECT_EQ(UnregisterModule(), S_OK);
        CoUninitialize();
    }
};

testing::Environment* const g_registered = testing::AddGlobalTestEnvironment(new Registered);
const LXLiveCounter g_serverObjects("objects of the sample server",
                                    [] { return XSampleServer::LiveObjectsOfAllServers(); });
} // namespace

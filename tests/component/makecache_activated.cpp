// SPDX-License-Identifier: MIT
//
// Obtains the cache like a program: registers the module and activates the class.
#include "cachefixture.h"
#include "clientlife.h"
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

class Activated : public CacheTest {
protected:
    Activated() : CacheTest(LXLifeModel()) {}
};

TEST_F(Activated, WhatIsHeldKeepsTheModuleAfterTheManagerIsGone) {
    const ModuleFile module;
    ASSERT_EQ(Start(15, true), S_OK);
    XLXComPtr<ILXTypeEnum> types;
    XLXComPtr<ILXParentChildEnum> relations;
    XLXComPtr<ILXParentChild> ofAPlanType;
    ASSERT_EQ(Factory()->GetTypeEnum(nullptr, types.Put()), S_OK);
    ASSERT_EQ(m_cache->GetPCEnum2(nullptr, XLXComBSTR(OLESTR("Pump")).Get(), nullptr, 2, relations.Put()), S_OK);
    while (relations->GetSingleNext(ofAPlanType.Put()) == S_OK && ofAPlanType.As<ILXCallbackUpdate>()) {}
    relations.Reset();
    Terminate();
    m_cache.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    types.Reset();
    ASSERT_TRUE(ofAPlanType);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE) << "a relation of a plan type, of which nobody counts the references";
    EXPECT_EQ(LXRead(ofAPlanType.Get(), XProperty::ParentName), OLESTR("Pump"));
    ofAPlanType.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

// SPDX-License-Identifier: MIT
//
// Obtains the cache like a program: registers the module and activates the class.
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

TEST(Activated, ObjectsKeepTheModuleAfterTheManagerIsGone) {
    const ModuleFile module;
    XLXComPtr<IUnknown> held;
    {
        const auto server = XSampleServer::Create(LXTestModel());
        XLXComPtr<ILXConfigFactoryCache> cache = LXMakeCache();
        XLXComVariant values[4];
        values[0] = XLXComVariant::FromUnknown(server->ConfigFactory().Get());
        values[3] = XLXComVariant::FromBool(true);
        ASSERT_EQ(cache.As<IDPFObject>()->Initialize(4, &values[0].Get()), S_OK);
        XLXComPtr<ILXTypeEnum> types;
        ASSERT_EQ(cache.As<ILXConfigFactory>()->GetTypeEnum(nullptr, types.Put()), S_OK);
        EXPECT_EQ(cache.As<IDPFObject>()->Terminate(), S_OK);
        held = types;
    }
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    held.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

TEST(Activated, ARelationOfAPlanTypeKeepsTheModuleAlone) {
    const ModuleFile module;
    XLXComPtr<ILXParentChild> held;
    {
        XServerModel model = LXTestModel();
        model.AddObject("set", "PlanSet", "lumbrixtypeset").attributes = {{OLESTR("master"), 1}};
        model.AddObject("plan", "Entry").attributes = {{OLESTR("configtypename"), "Pump"},
                                                       {OLESTR("nameshort"), "pu"},
                                                       {OLESTR("recursiv"), 1},
                                                       {OLESTR("wscparent"), 0}};
        model.AddChild("set", "lumbrixtype", "plan");
        const auto server = XSampleServer::Create(std::move(model));
        XLXComPtr<ILXConfigFactoryCache> cache = LXMakeCache();
        XLXComVariant values[4];
        values[0] = XLXComVariant::FromUnknown(server->ConfigFactory().Get());
        values[1] = XLXComVariant::FromUnknown(server->Query().Get());
        values[3] = XLXComVariant::FromBool(true);
        ASSERT_EQ(cache.As<IDPFObject>()->Initialize(4, &values[0].Get()), S_OK);
        XLXComPtr<ILXParentChildEnum> relations;
        ASSERT_EQ(cache->GetPCEnum2(nullptr, XLXComBSTR(OLESTR("Pump")).Get(), nullptr, 2, relations.Put()), S_OK);
        ASSERT_EQ(relations->GetSingleNext(held.Put()), S_OK);
        EXPECT_EQ(cache.As<IDPFObject>()->Terminate(), S_OK);
    }
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    EXPECT_EQ(LXRead(held.Get(), 1), OLESTR("Pump"));
    held.Reset();
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

// SPDX-License-Identifier: MIT
//
// Exports, class factory and interface map, through the real module file.
#include "modulefile.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace {
/// Loads the module for one test, and requires that it can be unloaded when nothing is held.
class Module : public testing::Test {
protected:
    void SetUp() override { m_module = std::make_unique<ModuleFile>(); }

    void TearDown() override {
        EXPECT_EQ(m_module->CanUnloadNow(), S_OK);
        m_module.reset();
        EXPECT_FALSE(ModuleIsLoaded());
    }

    const ModuleFile& File() const { return *m_module; }

    XLXComPtr<IUnknown> NewObject() const {
        XLXComPtr<IUnknown> object;
        EXPECT_EQ(File().Factory()->CreateInstance(nullptr, IID_IUnknown, object.PutVoid()), S_OK);
        return object;
    }

private:
    std::unique_ptr<ModuleFile> m_module;
};

TEST_F(Module, ReturnsOneFactoryAndNoOtherClass) {
    const auto factory = File().Factory();
    ASSERT_TRUE(factory);
    EXPECT_EQ(File().Factory(), factory);
    EXPECT_EQ(File().Factory().As<IUnknown>(), factory.As<IUnknown>());

    void* out = &out;
    EXPECT_EQ(File().GetClassObject(CLSID_LXConfigFactoryCache, IID_ILXConfigFactoryCache, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    out = &out;
    EXPECT_EQ(File().GetClassObject(CLSID_XCfgCacheCallback, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(File().GetClassObject(CLSID_LXConfigFactoryCache, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(File().GetClassObject(CLSID_XCfgCacheCallback, IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(Module, StaysLoadedWhileItsFactoryIsHeld) {
    EXPECT_EQ(File().CanUnloadNow(), S_OK);
    IClassFactory* const factory = File().Factory().Detach();
    EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->AddRef(), 3u);
    EXPECT_EQ(factory->Release(), 2u);
    EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->Release(), 1u) << "the module keeps a reference";
    EXPECT_EQ(File().CanUnloadNow(), S_OK);
    EXPECT_EQ(File().Factory().Get(), factory) << "it must return the same factory again";
}

TEST_F(Module, StaysLoadedWhileItIsLocked) {
    const auto lock = [this](BOOL on) { return File().Factory()->LockServer(on); };
    EXPECT_EQ(lock(TRUE), S_OK);
    EXPECT_EQ(lock(2), S_OK);
    EXPECT_EQ(lock(FALSE), S_OK);
    EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(lock(FALSE), S_OK);
}

TEST_F(Module, StaysLoadedWhileAnObjectLives) {
    const auto first = NewObject();
    auto second = NewObject();
    EXPECT_FALSE(first == second);
    EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
    EXPECT_EQ(second.Detach()->Release(), 0u);
    EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
}

// An object has one QueryInterface for all of them.
TEST_F(Module, AnObjectHasSixInterfacesAndOneIdentity) {
    const auto identity = NewObject();
    for (const IID* const iid : {&IID_ILXConfigFactoryCache, &IID_ILXConfigFactory, &IID_IDPFObject, &IID_ILXCallback,
                                 &IID_ILXCallbackUpdate, &IID_ILXServerEntryPoint}) {
        XLXComPtr<IUnknown> face;
        ASSERT_EQ(identity->QueryInterface(*iid, face.PutVoid()), S_OK);
        EXPECT_EQ(face.As<IUnknown>(), identity);
    }
    EXPECT_EQ(static_cast<void*>(identity.Get()), static_cast<void*>(identity.As<ILXConfigFactoryCache>().Get()));
    EXPECT_EQ(static_cast<void*>(identity.As<ILXCallback>().Get()),
              static_cast<void*>(identity.As<ILXCallbackUpdate>().Get()));
}

TEST_F(Module, FactoryServesManyThreads) {
    std::vector<std::future<void>> threads;
    for (int t = 0; t < 8; ++t) {
        threads.push_back(std::async(std::launch::async, [this] {
            for (int i = 0; i < 300; ++i) {
                const auto factory = File().Factory();
                XLXComPtr<ILXConfigFactoryCache> object;
                ASSERT_EQ(factory->CreateInstance(nullptr, LXIid<ILXConfigFactoryCache>(), object.PutVoid()), S_OK);
                factory->LockServer(TRUE);
                EXPECT_EQ(File().CanUnloadNow(), S_FALSE);
                factory->LockServer(FALSE);
            }
        }));
    }
}

} // namespace

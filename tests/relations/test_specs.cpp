// SPDX-License-Identifier: MIT
//
// The registries: global format specs and browser ids.
#include "inside.h"
#include "lxconfigfactorycachemanager.h"
#include "relationfixture.h"

XServerModel SpecModel() {
    XServerModel model;
    model.AddType("Only");
    model.AddBrowserId("Tree");
    for (int i = 0; i < 1200; ++i) {
        model.AddGlobalSpec("Spec" + std::to_string(1000 + i)).AddFormat(1);
    }
    return model;
}

class Specs : public RelationTest {
protected:
    Specs() : RelationTest(SpecModel()) {}

    HRESULT Load() { return LXResult(Factory(), &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs); }
    HRESULT RemoveById(const char* id) {
        return LXCall(*Factory(), &ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID, id);
    }
};

TEST_F(Specs, TwelveHundredComeInThreeBatches) {
    EXPECT_EQ(AllSpecs().size(), 1200u);
    EXPECT_EQ(Calls().Of("ILXGlobalAttributeFormatSpecEnum::RemNext"), 3u);
    const auto spec = AllSpecs().front();
    ExpectCalls(0, [&] { EXPECT_EQ(AllSpecs().front(), spec); });
    ExpectNullRefused(spec->GetFormat(1, nullptr), OLESTR("XLXGlobalAttributeFormatSpecCache::CreateFormat "
                                                          "(LXGlobalAttributeFormatSpecCache, line 307)"));
    Edit().AddGlobalSpec("Zero");
    EXPECT_EQ(AllSpecs().size(), 1201u);
}

TEST_F(Specs, FailuresDuringALoad) {
    Calls().FailCall("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", E_ACCESSDENIED);
    EXPECT_EQ(Load(), E_ACCESSDENIED);
    Calls().FailCall("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", S_OK);
    EXPECT_EQ(Load(), E_POINTER); // success without specs is not cached
    Calls().FailCall("ILXGlobalAttributeFormatSpecEnum::RemNext", E_ACCESSDENIED, 3);
    EXPECT_EQ(AllSpecs().size(), 1000u);
    ExpectCalls(0, [&] { EXPECT_EQ(AllSpecs().size(), 1000u); });
    m_server->SendNotification("objects/x/0/16");
    EXPECT_EQ(AllSpecs().size(), 1200u);
    Calls().FailCall("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs", S_FALSE);
    m_server->SendNotification("objects/x/0/256");
    ExpectCalls(1, [&] { EXPECT_EQ(Load(), S_FALSE); });
    ExpectCalls(0, [&] { EXPECT_EQ(Load(), S_FALSE); });
}

TEST_F(Specs, RefusedRemovalsLeaveTheCacheAsItWas) {
    const auto all = AllSpecs();
    const auto foreign = LXGet(m_server->ConfigFactory(), &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    const auto servers = LXElements(foreign).at(0);
    ExpectCalls(0, [&] {
        ExpectRefusal(Factory()->RemoveGlobalAttributeFormatSpec(servers.Get()), E_INVALIDARG,
                      "Only instances refered by a cache ILXGlobalAttributeFormatSpec interface ptr can be "
                      "removed by the CFC method RemoveGlobalAttributeFormatSpec().");
        ExpectRefusal(RemoveById(""), E_INVALIDARG,
                      "For removing ILXGlobalAttributeFormatSpec instances the property id "
                      "'LXCFGAFS_attributepropertyid' must not be empty.");
        EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(nullptr), E_POINTER);
    });
    Calls().FailAlways("ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID", E_ACCESSDENIED);
    EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(all[7].Get()), E_ACCESSDENIED);
    EXPECT_EQ(RemoveById("Spec1007"), E_ACCESSDENIED);
    Calls().StopFailing();
    Calls().FailCall("ILXGlobalAttributeFormatSpec::GetProperties", E_ACCESSDENIED);
    EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(all[8].Get()), E_ACCESSDENIED);
    ExpectCalls(0, [&] { EXPECT_EQ(AllSpecs(), all); });
    EXPECT_EQ(m_server->Model().specs.size(), 1200u);
}

TEST_F(Specs, AHeldSpecThatWasRemovedAnswersFromItsStore) {
    const auto all = AllSpecs();
    const auto held = all[7];
    auto format = LXGet(held, &ILXGlobalAttributeFormatSpec::GetFormat, 1);
    EXPECT_EQ(Factory()->RemoveGlobalAttributeFormatSpec(held.Get()), S_OK);
    EXPECT_EQ(LXRead(all[11].Get(), 0), OLESTR("Spec1011"));
    EXPECT_EQ(RemoveById("Spec1011"), S_OK);
    EXPECT_EQ(all[11]->GetFormat(1, format.Put()), E_POINTER);
    EXPECT_EQ(RemoveById("Spec1011"), E_INVALIDARG); // the server's result
    const auto left = AllSpecs();
    EXPECT_EQ(left.size(), 1198u);
    EXPECT_EQ(std::count(left.begin(), left.end(), held) + std::count(left.begin(), left.end(), all[11]), 0);
    EXPECT_EQ(m_server->Model().specs.size(), 1198u);
    EXPECT_EQ(LXRead(held.Get(), 0), OLESTR("Spec1007"));
    EXPECT_EQ(held->GetFormat(1, format.Put()), E_POINTER);
    LXNotifyStraight(held, "objects/x/0/1");
    EXPECT_EQ(LXRead(held.Get(), 0), OLESTR("<0x80004003>"));
}

TEST_F(Specs, BrowserIdsAreReadOnceAndStayListed) {
    for (int i = 0; i < 149; ++i) {
        Edit().AddBrowserId("B" + std::to_string(100 + i), XNotify::No);
    }
    Calls().FailCall("ILXBrowserIdEnum::RemNext", E_ACCESSDENIED, 2);
    EXPECT_EQ(LXResult(Factory(), &ILXConfigFactory::GetBrowserIdEnum), E_ACCESSDENIED);
    EXPECT_EQ(BrowserIds().size(), 150u);
    EXPECT_EQ(Calls().Of("ILXBrowserIdEnum::RemNext"), 4u);
    ExpectCalls(0, [&] { BrowserIds(); });
    Edit().AddBrowserId("Late"); // known ids are read again, new ones are not looked for
    ExpectCalls(150, [&] { EXPECT_EQ(BrowserIds().size(), 150u); });
}

// SPDX-License-Identifier: MIT
//
// The PC infos of relations.
#include "lxparentchildcache.h"
#include "relationfixture.h"

class PCInfos : public RelationTest {
protected:
    static Names Browsers(const Relation& relation) {
        return LXList(XProperty::PCInfoBrowser, relation, &ILXParentChild::GetPCInfoEnum);
    }
    static XLXText Label(const Relation& relation, const char* browser) {
        const auto info = LXFind(relation, &ILXParentChild::GetPCInfo, browser);
        return info ? LXRead(info.Get(), XProperty::PCInfoLabel) : XLXText(OLESTR("<none>"));
    }
};

TEST_F(PCInfos, AreReadOnceAndFoundWhateverTheCase) {
    const auto desks = Single("Node", "Desk", "nodes");
    Edit().SetPCInfoProperty("Node", "Desk", "nodes", "Tree", XProperty::PCInfoLabel, "T", XNotify::No);
    EXPECT_EQ(Browsers(desks), (Names{"List", "Tree"}));
    EXPECT_EQ(Calls().Of("ILXParentChild::GetPCInfoEnum"), 1u);
    ExpectCalls(0, [&] {
        EXPECT_EQ(Label(desks, "TREE"), OLESTR("T"));
        EXPECT_EQ(Label(desks, "none"), OLESTR("<none>"));
    });
    EXPECT_EQ(Browsers(Single("Node", "Room", "nodes")), Names());
    ExpectNullRefused(desks->GetPCInfo(nullptr, nullptr),
                      OLESTR("XLXParentChildCache::GetPCInfo (lxparentchildcache, line 404)"));
}

TEST_F(PCInfos, TheLastOneOfABrowserCounts) {
    Edit().AddPCInfo("Area", "Room", "nodes", "Tree");
    Edit().Change([](XServerModel& model) {
        (*model.FindRelation(OLESTR("Area"), OLESTR("Room"), OLESTR("nodes")))
            ->infos.back()
            ->properties.Set(XProperty::PCInfoLabel, "second");
    });
    const auto rooms = Single("Area", "Room", "nodes");
    EXPECT_EQ(Browsers(rooms), Names{"Tree"});
    EXPECT_EQ(Label(rooms, "Tree"), OLESTR("second"));
}

TEST_F(PCInfos, ComeInBatchesAndAFailureIsKeptUntilANotification) {
    for (int i = 0; i < 70; ++i) {
        Edit().AddPCInfo("Node", "Room", "nodes", "B" + std::to_string(100 + i), false, XNotify::No);
    }
    const auto rooms = Single("Node", "Room", "nodes");
    for (const auto& [method, n, left] : {std::tuple("ILXParentChild::GetPCInfoEnum", 1, 0u),
                                          {"ILXPCInfoEnum::RemNext", 3, 62u}}) { // those before the failure
        SCOPED_TRACE(method);
        m_server->SendNotification("objects/x/0/8");
        Calls().FailCall(method, E_ACCESSDENIED, static_cast<unsigned>(n));
        EXPECT_EQ(Label(rooms, "B169"), OLESTR("<none>")); // the failure is not returned
        ExpectCalls(0, [&, expected = left] { EXPECT_EQ(Browsers(rooms).size(), expected); });
    }
    EXPECT_EQ(Edit().RemovePCInfo("Node", "Room", "nodes", "B100").result, S_OK);
    EXPECT_EQ(Browsers(rooms).size(), 69u);
    EXPECT_EQ(Calls().Of("ILXPCInfoEnum::RemNext"), 6u);
}

TEST(RelationObjects, ReloadTheirPCInfosAfterTermination) {
    const auto server = XSampleServer::Create(LXRelationModel());
    const auto all = LXGet(server->ConfigFactory(), &ILXConfigFactory::GetParentChildEnum, nullptr, nullptr);
    const auto first = LXGet(all, &ILXParentChildEnum::GetSingleNext);
    const XLXComPtr<XLXParentChildCache> relation(new XLXParentChildCache(first, XClockPtr(new XClock)));
    EXPECT_TRUE(relation->FindPCInfo(OLESTR("tree")));
    relation->Terminate();
    EXPECT_TRUE(relation->FindPCInfo(OLESTR("tree")));
    EXPECT_EQ(server->Calls().Of("ILXParentChild::GetPCInfoEnum"), 2u);
    XLXComVariant value;
    const XLXComPtr<XLXPCInfoCache> unread(new XLXPCInfoCache(nullptr, XClockPtr(new XClock)));
    EXPECT_EQ(unread->SetProperty(9, value.Get()), S_OK); // the ten slots exist from the start
    EXPECT_EQ(unread->SetProperty(10, value.Get()), E_INVALIDARG);
    EXPECT_EQ(unread->GetProperty(1, value.Put()), E_POINTER); // no server to ask
}

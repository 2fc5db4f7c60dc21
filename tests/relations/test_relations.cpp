// SPDX-License-Identifier: MIT
//
// Queries for relations.
#include "relationfixture.h"

using Relations = RelationTest;

TEST_F(Relations, AreLoadedWithOneCall) {
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetPCArray"), 1u);
    ExpectCalls(0, [&] {
        EXPECT_EQ(Below("Area"), (Names{"Desk/nodes", "Desk/parts", "Desk/secret", "Room/nodes"}));
        EXPECT_EQ(Below("Desk"), Names());
        Single("Area", "Desk", "parts");
        Single("Area", "Desk", "elsewhere", S_FALSE);
        const auto of = [&](BSTR type) {
            return LXGet(Factory(), &ILXConfigFactory::GetParentChildEnum, type, nullptr);
        };
        EXPECT_EQ(Listed(of(nullptr)).size(), 7u);
        EXPECT_EQ(Listed(of(LXArgument("Node"))), (Names{"Desk/nodes", "Room/nodes"}));
    });
}

TEST_F(Relations, AFailedLoadIsKeptUntilANotification) {
    Terminate();
    Calls().Reset();
    Calls().FailCall("ILXConfigFactory::GetPCArray", E_ACCESSDENIED);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(Below("Area"), Names());
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetPCArray"), 1u);
    m_server->SendNotification("pc/Area/0/4");
    const auto parts = Single("Area", "Desk", "parts");
    Calls().FailCall("ILXConfigFactory::GetPCArray", E_ACCESSDENIED);
    m_server->SendNotification("objects/Area/0/4");
    EXPECT_EQ(Result(&Cache::GetPCEnum2, nullptr, "Area", nullptr, 0), E_ACCESSDENIED);
    Single("Area", "Desk", "parts", S_FALSE);
    Edit().SetRelationProperty("Area", "Desk", "parts", XProperty::NameShort, "p");
    EXPECT_EQ(Single("Area", "Desk", "parts"), parts); // the held object
    EXPECT_EQ(LXRead(parts.Get(), XProperty::NameShort), OLESTR("p"));
}

TEST_F(Relations, AreRefreshedInPlaceAfterANotification) {
    const Enum before = LXGet(m_cache, &Cache::GetPCEnum2, nullptr, "Node", nullptr, 0);
    const auto desks = Single("Node", "Desk", "nodes");
    EXPECT_EQ(Edit().AddRelation("Node", "Area", "nodes").result, S_OK);
    EXPECT_EQ(Edit().RemoveRelation("Node", "Room", "nodes").result, S_OK);
    EXPECT_EQ(Below("Node"), (Names{"Area/nodes", "Desk/nodes"}));
    EXPECT_EQ(Calls().Of("ILXConfigFactory::GetPCArray"), 2u);
    EXPECT_EQ(Single("Node", "Desk", "nodes"), desks);
    EXPECT_EQ(Listed(before), (Names{"Desk/nodes", "Room/nodes"}));
    ExpectCalls(0, [&] { LXRead(desks.Get(), LXRM_PARENTNAME); });
}

TEST_F(Relations, FiltersAndBrowsersRestrictWhatIsListed) {
    const std::tuple<const char*, LONG, const char*, Names> cases[] = {
        {"Area", 1, "", {"Desk/parts", "Room/nodes"}},
        {"Area", 0, "tree", {"Room/nodes"}},
        {"Area", 1, "LIST", {"Desk/parts"}},
        {"Area", 4, "", {"Desk/parts", "Desk/secret"}},
        {"Area", 8, "", {"Desk/nodes", "Room/nodes"}},
        {"Area", 16, "", {"Desk/nodes", "Desk/parts", "Room/nodes"}},
        {"Area", 4 | 16, "List", {"Desk/parts"}},
        {"Area", 4 | 8, "", {}},
        {"Area", 0, "None", {}},
        {"area", 0, "", {}},
    };
    for (const auto& [type, filter, browser, expected] : cases) {
        EXPECT_EQ(Below(type, filter, browser), expected) << type << " " << filter << " " << browser;
    }
    EXPECT_EQ(List(&Cache::GetThisBrowserParentChildEnum, "Node", nullptr, "List"), Names{"Desk/nodes"});
}

TEST_F(Relations, RefusalsNameTheMethodsArgument) {
    ExpectRefusal(Factory()->GetParentChildEnum(nullptr, nullptr, nullptr), E_POINTER, "invalid pointer: ppEnum");
    ExpectRefusal(m_cache->GetThisBrowserParentChildEnum(nullptr, nullptr, nullptr, nullptr), E_POINTER,
                  "invalid pointer: ppILXParentChildEnum");
    ExpectRefusal(m_cache->GetPCEnum2(nullptr, nullptr, nullptr, 0, nullptr), E_POINTER, "invalid pointer: ppPCEnum");
}

TEST_F(Relations, OfBaseTypesAreInheritedNearestFirst) {
    const auto all = [&](const char* type, LONG filter) {
        return List(&Cache::GetPCEnumAll, nullptr, type, nullptr, filter);
    };
    EXPECT_EQ(all("Room", 0), (Names{"Desk/nodes", "Desk/parts", "Desk/secret", "Room/nodes"}));
    EXPECT_EQ(all("Room", 1), (Names{"Desk/parts", "Room/nodes", "Desk/nodes"})); // Node's desks have PC infos
    EXPECT_EQ(all("Desk", 0), Names());
    Edit().AddRelation("Room", "Desk", "nodes");
    EXPECT_EQ(all("Room", 0), (Names{"Desk/nodes", "Desk/parts", "Desk/secret", "Room/nodes"}));
}

TEST_F(Relations, OfObjectsAreThoseOfTheirTypes) {
    const auto byObject = [&](const char* id, const char* type) {
        return List(&Cache::GetPCEnum, Object(id).Get(), type, nullptr, nullptr, 0);
    };
    EXPECT_EQ(byObject("a", ""), (Names{"Desk/nodes", "Desk/parts", "Desk/secret", "Room/nodes"}));
    EXPECT_EQ(byObject("a", "Node"), (Names{"Desk/nodes", "Room/nodes"})); // the caller's name
    EXPECT_EQ(byObject("c", "Node"), Names{"Desk/parts_reverse"});         // the object's own name takes precedence
    const auto between = [&](const char* parent, const char* child, LONG newOnly) {
        return List(&Cache::GetCachedPCEnum, Object(parent).Get(), Object(child).Get(), nullptr, nullptr, newOnly);
    };
    EXPECT_EQ(between("a", "d", 0), (Names{"Desk/nodes", "Desk/parts", "Desk/secret"}));
    EXPECT_EQ(between("a", "d", 1), Names{"Desk/parts"});
    EXPECT_EQ(between("d", "a", 0), Names());
    const auto of = [&](ILX_BaseDataObject* object) { return Result(&Cache::GetPCEnum2, object, nullptr, nullptr, 0); };
    ExpectCalls(0, [&] {
        ExpectRefusal(Result(&Cache::GetCachedPCEnum, Object("a").Get(), nullptr, nullptr, nullptr, 0), E_POINTER,
                      "invalid pointer: pObjectChild");
        ExpectRefusal(of(nullptr), E_INVALIDARG, "neither an object nor a type name is given");
    });
    EXPECT_EQ(of(m_server->DataObject("").Get()), S_FALSE);
    Calls().FailCall("ILX_BaseDataObject::GetTypeName", E_ACCESSDENIED);
    EXPECT_EQ(of(Object("a").Get()), E_ACCESSDENIED);
}

TEST_F(Relations, PPRQueriesReturnPPRRelationsOnly) {
    const auto area = Object("a");
    const auto desk = Object("d");
    const Names both{"Desk/parts", "Desk/secret"};
    EXPECT_EQ(List(&Cache::GetPPRRelationsEnum, "Area", nullptr), both);
    EXPECT_EQ(List(&Cache::GetPPRRelationsEnumByDO, area.Get(), nullptr), both);
    EXPECT_EQ(List(&Cache::GetPossiblePPRRelations2, "Area", nullptr, nullptr, 0), both);
    EXPECT_EQ(List(&Cache::GetPossiblePPRRelations, "Area", "Desk", nullptr), Names{"Desk/parts"});
    EXPECT_EQ(List(&Cache::GetPossiblePPRRelationsByDO, area.Get(), desk.Get(), nullptr), Names{"Desk/parts"});

    const auto exists = [&](const char* parent, const char* child, LONG internal) {
        return LXCall(*m_cache, &Cache::PPRRelationExists, parent, child, nullptr, internal);
    };
    EXPECT_EQ(exists("Area", "Desk", 0), S_OK);
    EXPECT_EQ(exists("Area", "", 0), S_OK);
    EXPECT_EQ(exists("Area", "Room", 1), S_FALSE);
    EXPECT_EQ(m_cache->PPRRelationExistsByDO(desk.Get(), area.Get(), nullptr, 1), S_FALSE);
    Edit().RemoveRelation("Area", "Desk", "parts");
    EXPECT_EQ(exists("Area", "Desk", 0), S_FALSE);
    EXPECT_EQ(exists("Area", "Desk", 1), S_OK);
    EXPECT_EQ(m_cache->PPRRelationExistsByDO(area.Get(), desk.Get(), nullptr, 1), S_OK);
}

TEST_F(Relations, SingleOnesAreFoundByTheirNames) {
    const auto first = [&](const char* parent, const char* list) {
        return LXFind(m_cache, &Cache::GetPCRelation, parent, nullptr, list);
    };
    EXPECT_EQ(first("Area", "nodes"), Single("Area", "Desk", "nodes"));
    EXPECT_EQ(first("Area", "@@nodes"), Single("Area", "Desk", "@@nodes"));
    EXPECT_EQ(Result(&Cache::GetPCRelation, "Area", nullptr, "none"), S_FALSE);

    const auto single = [&](const char* parent, const char* child) {
        return Result(&Cache::GetSinglePCRelation, parent, child, nullptr, "Area");
    };
    ExpectRefusal(single("Area", ""), E_INVALIDARG, "bstrChild is empty");
    ExpectRefusal(single("", "Area"), E_INVALIDARG, "bstrParent is empty");
    ExpectRefusal(Result(&Cache::GetPCRelation, "Area", nullptr, ""), E_INVALIDARG, "bstrChildlistname is empty");
    ExpectNullRefused(Result(&Cache::GetPCRelation, "Area", nullptr, nullptr),
                      OLESTR("XLXPCPartCacheMng::GetPCRelation (lxpcpartcachemng, line 800)"));
}

TEST_F(Relations, ARelationshipObjectIdentifiesOne) {
    const auto by = [&](const char* parent, const char* relationship, Relation& relation) {
        return m_cache->GetSinglePCRelationByDO(Object(parent).Get(), Object(relationship).Get(), relation.Put());
    };
    Relation relation;
    EXPECT_EQ(by("a", "rel", relation), S_OK);
    EXPECT_EQ(relation, Single("Area", "Desk", "parts"));
    EXPECT_EQ(by("c", "back", relation), S_OK); // seen from its second end
    EXPECT_EQ(relation, Single("Comp", "Desk", "parts_reverse"));
    Calls().FailCall("ILX_BaseDataObject::GetAttribute", S_OK, 4); // whether it is the first or the second end
    EXPECT_EQ(by("c", "back", relation), S_FALSE);
    Calls().FailCall("ILX_BaseDataObject::GetAttribute", E_ACCESSDENIED, 4);
    ExpectRefusal(by("c", "back", relation), E_ACCESSDENIED, "relationobject1");
    EXPECT_EQ(by("d", "rel", relation), S_FALSE); // no such relation
    ExpectRefusal(by("a", "d", relation), E_INVALIDARG, "This is no relationship object.");
    ExpectRefusal(by("c", "rel", relation), E_INVALIDARG, "Other related object not found.");
    ExpectRefusal(m_cache->GetSinglePCRelationByDO(nullptr, Object("rel").Get(), relation.Put()), E_INVALIDARG,
                  "the parent object or the relationship object is missing");
    Edit().Change([](XServerModel& model) { model.objects.at(OLESTR("a"))->typeName.clear(); });
    ExpectRefusal(by("a", "rel", relation), E_INVALIDARG, "The parent object has no type.");
    ExpectRefusal(by("d", "rel", relation), E_INVALIDARG, "The child object has no type.");
    EXPECT_FALSE(relation);
}

TEST_F(Relations, QueriesBeforeInitialisationAndAfterTerminationAreRefused) {
    EXPECT_EQ(LXResult(LXMakeCache(), &Cache::GetPCEnum2, nullptr, "Area", nullptr, 0), E_POINTER);
    const auto parts = Single("Area", "Desk", "parts");
    Terminate();
    EXPECT_EQ(Result(&Cache::GetPCEnum2, nullptr, "Area", nullptr, 0), E_POINTER);
    EXPECT_EQ(LXRead(parts.Get(), LXRM_PARENTNAME), OLESTR("Area"));
}

TEST_F(Relations, LoadsWithoutAnArrayOrWithoutNames) {
    Calls().FailCall("ILXConfigFactory::GetPCArray", S_OK); // success without an array
    m_server->SendNotification("pc/x/0/4");
    EXPECT_EQ(Result(&Cache::GetPCEnum2, nullptr, "Area", nullptr, 0), E_POINTER);
    Calls().FailCall("ILXConfigFactory::GetPCArray", S_FALSE); // no data
    m_server->SendNotification("pc/x/0/4");
    EXPECT_EQ(Below("Area"), Names());
    Edit().Change([](XServerModel& m) { m.relations.front()->properties.Set(LXRM_PARENTNAME, XModelValue()); },
                  "pc/x/0/4");
    EXPECT_EQ(Below("Node"), Names{"Room/nodes"}); // the relation without a parent is left out
}

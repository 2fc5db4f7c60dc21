// SPDX-License-Identifier: MIT
#include "relationfixture.h"

XServerModel LXRelationModel() {
    XServerModel model;
    model.AddType("Node");
    model.AddType("Area", "Node");
    model.AddType("Room", "Area");
    model.AddType("Desk");
    model.AddType("lumbcompbase");
    model.AddType("Comp", "lumbcompbase");
    model.AddBrowserId("Tree");
    model.AddBrowserId("List");
    XModelRelation& desks = model.AddRelation("Node", "Desk", "nodes");
    desks.AddPCInfo("Tree");
    desks.AddPCInfo("List", true);
    model.AddRelation("Node", "Room", "nodes");
    model.AddRelation("Area", "Room", "nodes").AddPCInfo("Tree");
    model.AddRelation("Area", "Desk", "nodes");
    model.AddRelation("Area", "Desk", "parts", 1).AddPCInfo("List");
    model.AddRelation("Area", "Desk", "secret", 2, true);
    model.AddRelation("Comp", "Desk", "parts_reverse", 1);

    model.AddObject("set", "PlanSet", "lumbrixtypeset").attributes = {{OLESTR("master"), 1}};
    model.AddObject("oldset", "PlanSet", "lumbrixtypeset").attributes = {{OLESTR("master"), 0}};
    const auto plan = [&model](const char* id, const char* type, const char* nameShort, bool recursive) {
        model.AddObject(id, "Entry").attributes = {{OLESTR("configtypename"), type},
                                                   {OLESTR("nameshort"), nameShort},
                                                   {OLESTR("recursiv"), recursive ? 1 : 0},
                                                   {OLESTR("wscparent"), 0}};
    };
    plan("plan", "Plan", "pl", false);
    plan("task", "Task", "ts", true);
    plan("old", "Old", "ol", true);
    model.AddObject("below1", "Entry").attributes = {{OLESTR("configtypename"), "Task"}};
    model.AddObject("below2", "Entry").attributes = {{OLESTR("configtypename"), "Desk"}};
    model.AddChild("set", "lumbrixtype", "plan");
    model.AddChild("set", "lumbrixtype", "task");
    model.AddChild("oldset", "lumbrixtype", "old");
    model.AddChild("plan", "lumbrixtypechild", "below1");
    model.AddChild("plan", "lumbrixtypechild", "below2");

    model.AddObject("a", "Area");
    model.AddObject("d", "Desk");
    model.AddObject("c", "Comp");
    model.AddRelationship("rel", "parts", "a", "d");
    model.AddRelationship("back", "parts", "d", "c");
    return model;
}

RelationTest::Names RelationTest::Listed(const Enum& relations) {
    Names names;
    for (const Relation& relation : LXElements(relations)) {
        names.push_back(LXNarrow(LXRead(relation.Get(), LXRM_CHILDNAME)) + "/" +
                        LXNarrow(LXRead(relation.Get(), LXRM_CHILDLISTNAME)));
    }
    return names;
}

RelationTest::Relation RelationTest::Single(const char* parent, const char* child, const char* list, HRESULT expected) {
    Relation relation;
    EXPECT_EQ(LXCall(*m_cache, &Cache::GetSinglePCRelation, parent, child, nullptr, list, relation.Put()), expected)
        << parent << " " << child << " " << list;
    return relation;
}

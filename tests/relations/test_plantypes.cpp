// SPDX-License-Identifier: MIT
//
// Plan types and the relations that they allow.
#include "logcapture.h"
#include "relationfixture.h"

class PlanTypes : public RelationTest {
protected:
    /// Begins another connection with this query object.
    void StartWith(XLXComVariant query) {
        Terminate();
        auto arguments = Arguments(15, false, false);
        arguments[1] = std::move(query);
        ASSERT_EQ(Initialize(std::move(arguments)), S_OK);
    }
    Enum Enumerate(const char* type, LONG filter) {
        return LXGet(m_cache, &Cache::GetPCEnum2, nullptr, type, nullptr, filter);
    }
    Relation First(const char* type, LONG filter) {
        return LXGet(Enumerate(type, filter), &ILXParentChildEnum::GetSingleNext);
    }
};

TEST_F(PlanTypes, AreReadFromTheMasterSet) {
    EXPECT_EQ(IsPlan("Plan"), S_OK);
    EXPECT_EQ(IsPlan("Task"), S_OK);
    EXPECT_EQ(IsPlan("Old"), S_FALSE); // its set is not active
    EXPECT_EQ(IsPlan("Desk"), S_FALSE);
    EXPECT_EQ(m_cache->IsPlantype(nullptr), E_POINTER);
    EXPECT_EQ(Calls().Of("ILX_Query::GetSearchResult"), 1u);
    m_server->SendNotification("properties/x/0/4");
    ExpectCalls(0, [&] { IsPlan("Plan"); });
    Edit().Change([](XServerModel& m) { m.objects.at(OLESTR("task"))->attributes[OLESTR("configtypename")] = "Job"; },
                  "pc/lumbrixtypeset/0/4");
    EXPECT_EQ(IsPlan("Task"), S_FALSE);
    EXPECT_EQ(IsPlan("Job"), S_OK);
}

TEST_F(PlanTypes, AddTheirAllowedPairs) {
    Edit().AddRelation("Plan", "Node", "nodes");
    EXPECT_EQ(Below("Plan"), Names{"Node/nodes"});
    EXPECT_EQ(Below("Plan", 2), (Names{"Node/nodes", "Task/nodes", "Desk/nodes"}));
    EXPECT_EQ(Below("Task", 2), Names{"Task/nodes"});
    EXPECT_EQ(Below("Plan", 2 | 4), Names()); // not PPR relations
    EXPECT_EQ(Below("Plan", 2 | 1), (Names{"Task/nodes", "Desk/nodes"}));
    EXPECT_EQ(Below("Plan", 2, "Tree"), (Names{"Task/nodes", "Desk/nodes"}));
    EXPECT_EQ(Below("Plan", 2, "None"), Names());
    EXPECT_EQ(List(&Cache::GetPCEnum, nullptr, "Task", nullptr, nullptr, 1), Names{"Task/nodes"});
    EXPECT_EQ(List(&Cache::GetPCEnumAll, nullptr, "Task", nullptr, 2), Names{"Task/nodes"});
}

TEST_F(PlanTypes, EachPairHasOneTransientRelation) {
    const auto relation = First("Task", 2);
    EXPECT_EQ(First("Task", 2), relation);
    EXPECT_NE(First("Task", 2 | 1), relation); // it has the other set of PC infos
    EXPECT_EQ(LXRead(relation.Get(), LXRM_NAMESHORT), OLESTR("ts"));
    for (const LONG newOnly : {0, 1}) {
        const auto info = LXGet(First("Task", 2 | newOnly), &ILXParentChild::GetPCInfo, "List");
        EXPECT_EQ(LXRead(info.Get(), XProperty::PCInfoNew), XLXText(XLXFormat() << newOnly));
    }
    const XLXComVariant other = XLXComVariant::FromBstr(OLESTR("Other"));
    EXPECT_EQ(relation->SetProperty(LXRM_PARENTNAME, other.Get()), S_OK);
    EXPECT_EQ(LXRead(relation.Get(), LXRM_PARENTNAME), OLESTR("Other"));
    First("Task", 2);
    EXPECT_EQ(LXRead(relation.Get(), LXRM_PARENTNAME), OLESTR("Task")); // reset when it is returned again
    Edit().Change([](XServerModel& m) { m.objects.at(OLESTR("task"))->attributes[OLESTR("configtypename")] = "Plan"; },
                  "pc/lumbrixtypeset/0/4");
    EXPECT_EQ(LXRead(First("Plan", 2).Get(), LXRM_NAMESHORT), OLESTR("ts")); // that of the later entry
}

TEST_F(PlanTypes, TransientRelationsOutliveTheirManager) {
    const auto relations = Enumerate("Plan", 2);
    const auto relation = First("Plan", 2);
    const auto tree = [&] { return LXResult(relation, &ILXParentChild::GetPCInfo, "Tree"); };
    EXPECT_EQ(tree(), S_OK);
    Terminate();
    m_cache.Reset();
    EXPECT_EQ(tree(), S_FALSE);
    EXPECT_EQ(Listed(relations), (Names{"Task/nodes", "Desk/nodes"}));
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(First("Plan", 2), relation); // the next manager reuses it
    EXPECT_EQ(tree(), S_OK);

    const auto firstCache = m_cache;
    m_cache.Reset();
    ASSERT_EQ(Start(), S_OK);
    EXPECT_NE(First("Plan", 2), relation); // a second manager at the same time has its own
    EXPECT_EQ(firstCache.As<IDPFObject>()->Terminate(), S_OK);
}

TEST_F(PlanTypes, AFailingQueryFindsNoneAndLeavesNoSearchBehind) {
    for (const char* failing : {"", "ILX_Query::GetSearchResult", "ILX_BaseDataObject::GetChildren",
                                "ILX_BaseDataObject::GetAttribute", "IEnumBaseDataObject::RemNext"}) {
        SCOPED_TRACE(failing);
        const auto query = m_server->Query();
        StartWith(XLXComVariant::FromUnknown(query.Get()));
        Calls().Reset();
        if (*failing != 0) { Calls().FailCall(failing, E_ACCESSDENIED); }
        const LogCapture log;
        EXPECT_EQ(IsPlan("Plan"), *failing != 0 ? S_FALSE : S_OK);
        EXPECT_EQ(log.Entries().size(), *failing != 0 ? 1u : 0u);
        EXPECT_FALSE(LXErrorInformation::Take().present);
        EXPECT_EQ(Calls().Of("ILX_Query::ResetSearch"), 2u);
        XLXComPtr<IEnumBaseDataObject> found; // a search without a table finds nothing
        query->GetSearchResult(found.Put());
        XLXComPtr<ILX_BaseDataObject> object;
        ULONG fetched = 0;
        EXPECT_TRUE(!found || found->RemNext(1, object.Put(), &fetched) == S_FALSE);
        EXPECT_FALSE(object);
        EXPECT_EQ(Below("Task", 2), Names{"Task/nodes"}); // asked again
    }
}

TEST_F(PlanTypes, WithoutAQueryObjectThereAreNone) {
    StartWith(XLXComVariant());
    EXPECT_EQ(IsPlan("Plan"), S_FALSE);
    EXPECT_EQ(Below("Plan", 2), Names());
}

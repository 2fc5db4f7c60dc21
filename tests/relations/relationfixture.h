// SPDX-License-Identifier: MIT
//
// A cache with a server whose model consists of relations.
#ifndef RELATIONFIXTURE_H
#define RELATIONFIXTURE_H

#include "cachefixture.h"
#include "lxparentchildcache.h"

/// The model of these tests:
///     types      Node; Area and Room, bases Node and Area; Desk; Comp, base lumbcompbase
///     browsers   Tree, List
///     relations  Node -> Desk nodes (Tree, List), Node -> Room nodes, Area -> Room nodes (Tree), Area -> Desk nodes,
///                Area -> Desk parts (PPR, List), Area -> Desk secret (PPR, internal), Comp -> Desk parts_reverse (PPR)
///     plan types Plan (short name "pl", allows Task and Desk), Task (short name "ts", allows itself)
///     objects    a (Area), d (Desk), c (Comp); relationship objects rel (parts, a to d), back (parts, d to c)
XServerModel LXRelationModel();

class RelationTest : public CacheTest {
protected:
    explicit RelationTest(XServerModel model = LXRelationModel()) : CacheTest(std::move(model)) {}
    void SetUp() override { ASSERT_EQ(LXServerMode() ? StartInServer() : Start(), S_OK); }

    using Cache = ILXConfigFactoryCache;
    using Enum = XLXComPtr<ILXParentChildEnum>;
    using Relation = XLXComPtr<ILXParentChild>;

    XLXComPtr<ILX_BaseDataObject> Object(const char* id) { return m_server->StoredObject(id); }
    HRESULT IsPlan(const char* type) { return m_cache->IsPlantype(m_server->DataObject(type).Get()); }

    /// The relations of an enumeration as "Child/list".
    static Names Listed(const Enum& relations);
    /// Those that a method of the cache enumerates: S_OK with relations, S_FALSE without.
    template <class Method, class... Arguments> Names List(Method method, Arguments... arguments) {
        Enum relations;
        const HRESULT result = LXCall(*m_cache, method, arguments..., relations.Put());
        EXPECT_EQ(result, relations ? S_OK : S_FALSE);
        return Listed(relations);
    }
    Names Below(const char* type, LONG filter = 0, const char* browser = "") {
        return List(&Cache::GetPCEnum2, nullptr, type, browser, filter);
    }
    /// The result of a call of the cache.
    template <class Method, class... Arguments> HRESULT Result(Method method, Arguments... arguments) {
        return LXResult(m_cache, method, arguments...);
    }
    Relation Single(const char* parent, const char* child, const char* list, HRESULT expected = S_OK);
};

#endif

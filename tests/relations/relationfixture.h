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
    void TearDown() override { Terminate(); }

    using Names = std::vector<std::string>;
    using Enum = XLXComPtr<ILXParentChildEnum>;
    using Relation = XLXComPtr<ILXParentChild>;

    static XLXComBSTR B(const char* text) { return XLXComBSTR(LXFromUtf8(text)); }
    XLXComPtr<ILX_BaseDataObject> Object(const char* id) { return m_server->StoredObject(id); }

    /// The relations of an enumeration as "Child/list".
    static Names Listed(const Enum& relations);
    /// Requests an enumeration: S_OK with relations, S_FALSE without.
    template <class Ask> static Names List(Ask&& ask) {
        Enum relations;
        const HRESULT result = ask(relations.Put());
        EXPECT_EQ(result, relations ? S_OK : S_FALSE);
        return Listed(relations);
    }
    Names Below(const char* type, LONG filter = 0, const char* browser = "");
    Relation Single(const char* parent, const char* child, const char* list, HRESULT expected = S_OK);

    /// Expects a call to fail with this code and description.
    static void ExpectRefusal(HRESULT actual, HRESULT expected, const char* description);
    /// Expects that a null pointer was refused at this location.
    static void ExpectNullRefused(HRESULT actual, XLXTextView source);
};

#endif

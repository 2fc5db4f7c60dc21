// SPDX-License-Identifier: MIT
//
// Transient objects for the relations that plan types allow: what they store, and that references to them keep the
// module loaded.
#include "lxtransientattribute.h"
#include "lxtransientpc.h"
#include "lxtransientpcinfo.h"
#include "relationfixture.h"

using Stored = std::tuple<int, VARTYPE, const OLECHAR*>; // member, type and text

void Expect(ILXConfigObject& object, const std::vector<Stored>& values) {
    for (const auto& [member, type, text] : values) {
        XLXComVariant value;
        EXPECT_EQ(object.GetProperty(member, value.Put()), S_OK) << member;
        EXPECT_EQ(value.Type(), type) << member;
        EXPECT_EQ(value.AsText(), text) << member;
    }
}

/// Sets members that the object has.
void Set(ILXConfigObject& object, std::initializer_list<int> members, const XLXComVariant& value) {
    for (const int member : members) {
        EXPECT_EQ(object.SetProperty(member, value.Get()), S_OK) << member;
    }
}

TEST(Transients, ARelationStoresItsNames) {
    XLXTransientPC relation({}, {OLESTR("P"), OLESTR("C"), OLESTR("S")}, false);
    const std::vector<Stored> untouched = {{0, VT_BSTR, OLESTR("nodes")},
                                           {1, VT_BSTR, OLESTR("C")},
                                           {2, VT_BSTR, OLESTR("")},
                                           {19, VT_BSTR, OLESTR("P")},
                                           {20, VT_I4, OLESTR("0")}};
    Expect(relation, untouched);
    Expect(relation, {{21, VT_BSTR, OLESTR("S")}});
    LXErrorInformation::Take();
    XLXComVariant none;
    for (const int member : {-1, 5, 37}) {
        EXPECT_EQ(relation.GetProperty(member, none.Put()), E_INVALIDARG) << member;
    }
    EXPECT_FALSE(LXErrorInformation::Take().present); // refused without error information
    const XLXComVariant number = XLXComVariant::FromI4(7);
    Set(relation, {0, 2, 20, 21, 36}, number);
    Expect(relation, untouched);                    // the child list is constant
    Expect(relation, {{21, VT_BSTR, OLESTR("7")}}); // converted to text
    EXPECT_EQ(relation.SetProperty(1, XLXComVariant::FromUnknown(&relation).Get()), E_INVALIDARG);
    EXPECT_EQ(relation.SetProperty(5, number.Get()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Set (lxtransientpc, line 299)"));
    EXPECT_EQ(relation.GetProperty(1, nullptr), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Get (lxtransientpc, line 67)"));
    XLXComPtr<ILXPCInfoEnum> infos;
    EXPECT_EQ(relation.GetPCInfoEnum(infos.Put()), S_FALSE); // no manager
}

TEST(Transients, APCInfoHasItsOwnMembers) { // which ones are new: PlanTypes.EachPairHasOneTransientRelation
    XLXTransientPCInfo info(OLESTR("Tree"), false);
    XLXComVariant none;
    EXPECT_EQ(info.GetProperty(8, none.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPCInfo::Get (lxtransientpcinfo, line 107)"));
}

TEST(Transients, AnAttributeStoresItsMembers) {
    const XLXComPtr<XLXTransientAttribute> attribute(new XLXTransientAttribute(OLESTR("N")));
    Expect(*attribute,
           {{0, VT_BSTR, OLESTR("N")}, {13, VT_R8, OLESTR("0")}, {33, VT_I4, OLESTR("64")}, {41, VT_BSTR, OLESTR("")}});
    const XLXComVariant text = XLXComVariant::FromBstr(OLESTR("12"));
    Set(*attribute, {0, 13, 33, 41}, text);
    Expect(
        *attribute,
        {{0, VT_BSTR, OLESTR("12")}, {13, VT_R8, OLESTR("12")}, {33, VT_I4, OLESTR("12")}, {41, VT_BSTR, OLESTR("")}});
    EXPECT_EQ(attribute->SetProperty(33, XLXComVariant::FromBstr(OLESTR("x")).Get()), E_INVALIDARG);
    EXPECT_EQ(attribute->SetProperty(16, text.Get()), E_INVALIDARG);
    EXPECT_FALSE(XLXComPtr<ILXAttribute>(attribute).As<ILXCallbackUpdate>());
}

TEST(Transients, ReferencesToUncountedObjectsKeepTheModuleLoaded) {
    const auto expectLocks = [](ILXConfigObject& object) {
        const auto before = XModuleCount::Locks();
        {
            const XLXComPtr<ILXConfigObject> held(&object);
            EXPECT_EQ(XModuleCount::Locks(), before + 1);
            EXPECT_EQ(object.AddRef(), 1u);
            EXPECT_EQ(object.Release(), 1u);
            EXPECT_EQ(XModuleCount::Locks(), before + 1);
        }
        EXPECT_EQ(XModuleCount::Locks(), before);
        EXPECT_EQ(object.Release(), 1u); // more Release than AddRef
        EXPECT_EQ(XModuleCount::Locks(), before) << "a lock of another object is gone";
    };
    XLXTransientPC relation({}, {OLESTR("P"), OLESTR("C"), OLESTR("S")}, false);
    expectLocks(relation);
    XLXTransientPCInfo info(OLESTR("Tree"), false);
    expectLocks(info);
}

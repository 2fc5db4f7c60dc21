// SPDX-License-Identifier: MIT
//
// Objects that stand for what plan types allow: what they store, and that they keep the module.
#include "lxtransientattribute.h"
#include "lxtransientpc.h"
#include "lxtransientpcinfo.h"
#include "relationfixture.h"

TEST(Transients, ARelationStoresItsNames) {
    XLXTransientPC relation({}, {OLESTR("P"), OLESTR("C"), OLESTR("S")}, false);
    const auto expect = [&](std::initializer_list<std::pair<int, const OLECHAR*>> values) {
        for (const auto& [member, text] : values) {
            EXPECT_EQ(LXRead(&relation, member), text) << member;
        }
    };
    const auto untouched = {std::pair(0, OLESTR("nodes")), std::pair(1, OLESTR("C")), std::pair(2, OLESTR("")),
                            std::pair(19, OLESTR("P")), std::pair(20, OLESTR("0"))};
    expect(untouched);
    expect({{21, OLESTR("S")}});
    LXErrorInformation::Take();
    for (const int member : {-1, 5, 37}) {
        XLXComVariant none;
        EXPECT_EQ(relation.GetProperty(member, none.Put()), E_INVALIDARG) << member;
    }
    EXPECT_FALSE(LXErrorInformation::Take().present); // refused without error information
    const XLXComVariant number = XLXComVariant::FromI4(7);
    for (const int index : {0, 2, 20, 36}) {
        EXPECT_EQ(relation.SetProperty(index, number.Get()), S_OK);
    }
    expect(untouched); // the child list is constant
    EXPECT_EQ(relation.SetProperty(21, number.Get()), S_OK);
    expect({{21, OLESTR("7")}}); // converted to text
    EXPECT_EQ(relation.SetProperty(1, XLXComVariant::FromUnknown(&relation).Get()), E_INVALIDARG);
    EXPECT_EQ(relation.SetProperty(5, number.Get()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Set (lxtransientpc, line 299)"));
    EXPECT_EQ(relation.GetProperty(1, nullptr), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Get (lxtransientpc, line 67)"));
    XLXComPtr<ILXPCInfoEnum> infos;
    EXPECT_EQ(relation.GetPCInfoEnum(infos.Put()), S_FALSE); // no manager
}

TEST(Transients, APCInfoTellsNewOnesApart) {
    for (const bool isNew : {false, true}) {
        XLXTransientPCInfo info(OLESTR("Tree"), isNew);
        EXPECT_EQ(LXRead(&info, XProperty::PCInfoNew), XLXText(XLXFormat() << LONG{isNew}));
        XLXComVariant none;
        EXPECT_EQ(info.GetProperty(8, none.Put()), E_INVALIDARG);
        EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPCInfo::Get (lxtransientpcinfo, line 107)"));
    }
}

TEST(Transients, AnAttributeStoresWhatItHas) {
    const XLXComPtr<XLXTransientAttribute> attribute(new XLXTransientAttribute(OLESTR("N")));
    const auto expect = [&](std::initializer_list<std::tuple<int, VARTYPE, const OLECHAR*>> values) {
        for (const auto& [member, type, text] : values) {
            XLXComVariant value;
            EXPECT_EQ(attribute->GetProperty(member, value.Put()), S_OK) << member;
            EXPECT_EQ(value.Type(), type) << member;
            EXPECT_EQ(value.AsText(), text) << member;
        }
    };
    expect({{0, VT_BSTR, OLESTR("N")}, {13, VT_R8, OLESTR("0")}, {33, VT_I4, OLESTR("64")}, {41, VT_BSTR, OLESTR("")}});
    const XLXComVariant text = XLXComVariant::FromBstr(OLESTR("12"));
    for (const int index : {0, 13, 33, 41}) {
        EXPECT_EQ(attribute->SetProperty(index, text.Get()), S_OK);
    }
    expect(
        {{0, VT_BSTR, OLESTR("12")}, {13, VT_R8, OLESTR("12")}, {33, VT_I4, OLESTR("12")}, {41, VT_BSTR, OLESTR("")}});
    EXPECT_EQ(attribute->SetProperty(33, XLXComVariant::FromBstr(OLESTR("x")).Get()), E_INVALIDARG);
    EXPECT_EQ(attribute->SetProperty(16, text.Get()), E_INVALIDARG);
    EXPECT_FALSE(XLXComPtr<ILXAttribute>(attribute).As<ILXCallbackUpdate>());
}

TEST(Transients, AReferenceToWhatIsNotCountedKeepsTheModule) {
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
        EXPECT_EQ(XModuleCount::Locks(), before) << "others' locks stay";
    };
    XLXTransientPC relation({}, {OLESTR("P"), OLESTR("C"), OLESTR("S")}, false);
    expectLocks(relation);
    XLXTransientPCInfo info(OLESTR("Tree"), false);
    expectLocks(info);
}

// SPDX-License-Identifier: MIT
//
// The property tables of transient objects.
#include "lxtransientattribute.h"
#include "lxtransientpc.h"
#include "lxtransientpcinfo.h"
#include "relationfixture.h"

#include <cstdio>

namespace {
/// "<variant type>:<value>" for each readable index of a range.
std::string Table(ILXConfigObject& object, int first, int last) {
    std::string table;
    for (int index = first; index <= last; ++index) {
        XLXComVariant value;
        const HRESULT result = object.GetProperty(index, value.Put());
        if (result == S_OK) {
            const char* const type = value.Type() == VT_I4     ? "i"
                                     : value.Type() == VT_BOOL ? "b"
                                     : value.Type() == VT_R8   ? "d"
                                     : value.Type() == VT_BSTR ? "s"
                                                               : "?";
            const std::string text = value.Type() == VT_BSTR   ? LXNarrow(*value.AsText())
                                     : value.Type() == VT_BOOL ? (*value.AsBool() ? "1" : "0")
                                                               : std::to_string(*value.AsLong());
            table += std::to_string(index) + type + text + " ";
        } else {
            EXPECT_EQ(result, E_INVALIDARG) << index;
        }
    }
    return table;
}
} // namespace

TEST(Transients, ARelationHasItsNamesAndConstants) {
    XLXTransientPC relation({}, {OLESTR("P"), OLESTR("C"), OLESTR("S")}, false);
    const std::string untouched = "0snodes 1sC 2s 3s 4i0 8b0 9b0 10b0 11b0 12b1 13b0 14b0 15b1 17b0 19sP "
                                  "20i0 21sS 23s 26b0 27i0 28s 29i0 "
                                  "30b0 31b0 32b0 33b0 34i0 35b0 36b0 ";
    EXPECT_EQ(Table(relation, -1, 40), untouched);
    EXPECT_FALSE(LXErrorInformation::Take().present); // refused without error information

    const XLXComVariant number = XLXComVariant::FromI4(7);
    for (const int index : {0, 2, 20, 36}) {
        EXPECT_EQ(relation.SetProperty(index, number.Get()), S_OK);
    }
    EXPECT_EQ(Table(relation, -1, 40), untouched); // the child list is constant
    EXPECT_EQ(relation.SetProperty(21, number.Get()), S_OK);
    EXPECT_EQ(LXRead(&relation, 21), OLESTR("7")); // converted to text
    EXPECT_EQ(relation.SetProperty(1, XLXComVariant::FromUnknown(&relation).Get()), E_INVALIDARG);
    EXPECT_EQ(relation.SetProperty(5, number.Get()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Set (lxtransientpc, line 299)"));
    EXPECT_EQ(relation.GetProperty(1, nullptr), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPC::Get (lxtransientpc, line 67)"));
    XLXComVariant value;
    EXPECT_EQ(relation.Get(XLXComBSTR(OLESTR("LXCFPC_parentname")).Get(), value.Put()), S_OK);
    EXPECT_EQ(value.AsText(), OLESTR("P"));
    XLXComPtr<ILXPCInfoEnum> infos;
    EXPECT_EQ(relation.GetPCInfoEnum(infos.Put()), S_FALSE); // no manager
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(relation.Release(), 1u);
    }
    EXPECT_EQ(LXRead(&relation, 1), OLESTR("C"));
}

TEST(Transients, APCInfoIsReadOnly) {
    for (const bool isNew : {false, true}) {
        XLXTransientPCInfo info(OLESTR("Tree"), isNew);
        EXPECT_EQ(Table(info, -1, 12),
                  isNew ? "0s 1sTree 2i0 3s 4i1 5i1 6i1 7i0 9s " : "0s 1sTree 2i0 3s 4i1 5i1 6i0 7i0 9s ");
        EXPECT_EQ(LXErrorInformation::Take().source, OLESTR("XLXTransientPCInfo::Get (lxtransientpcinfo, line 107)"));
        EXPECT_EQ(info.SetProperty(1, VARIANT{}), E_NOTIMPL);
        EXPECT_EQ(info.Set(nullptr, VARIANT{}), E_NOTIMPL);
        EXPECT_EQ(info.Release(), 1u);
    }
}

TEST(Transients, AnAttributeStoresWhatItHas) {
    const XLXComPtr<XLXTransientAttribute> attribute(new XLXTransientAttribute(OLESTR("N")));
    EXPECT_EQ(Table(*attribute, -1, 60),
              "0sN 1i2 2s 3i0 4s 5s 6i1 7b1 8b0 9b0 10i0 11i0 12i0 13d0 14d0 15i0 17i0 19b0 20i0 21i0 22b0 23b0 "
              "24b0 26b0 27b0 28b0 29b1 30b0 31b0 32b0 33i64 34b0 35i0 36sFoldername 37s 39i5 40s 41s 42s 43s "
              "44b0 45b0 46i0 47s 48b0 49s ");
    const XLXComVariant text = XLXComVariant::FromBstr(OLESTR("12"));
    for (const int index : {0, 13, 33, 41}) {
        EXPECT_EQ(attribute->SetProperty(index, text.Get()), S_OK);
    }
    EXPECT_EQ(Table(*attribute, 0, 0) + Table(*attribute, 13, 13) + Table(*attribute, 33, 33) +
                  Table(*attribute, 41, 41),
              "0s12 13d12 33i12 41s ");
    EXPECT_EQ(attribute->SetProperty(33, XLXComVariant::FromBstr(OLESTR("x")).Get()), E_INVALIDARG);
    EXPECT_EQ(attribute->SetProperty(16, text.Get()), E_INVALIDARG);
    EXPECT_EQ(attribute->GetFormat(0, nullptr), E_NOTIMPL);
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

TEST(Transients, ANullPointerForAnInterfaceIsNamed) {
    const auto expectNamed = [](IUnknown& object) {
        EXPECT_EQ(object.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
        EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("invalid pointer: ppv"));
        void* out = &out;
        EXPECT_EQ(object.QueryInterface(IID_ILXCallback, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        EXPECT_FALSE(LXErrorInformation::Take().present);
    };
    XLXTransientPC relation({}, {}, false);
    expectNamed(relation);
    XLXTransientPCInfo info({}, false);
    expectNamed(info);
    expectNamed(*XLXComPtr<XLXTransientAttribute>(new XLXTransientAttribute(OLESTR("N"))));
}

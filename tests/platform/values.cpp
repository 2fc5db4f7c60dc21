// SPDX-License-Identifier: MIT
//
// The life of a VARIANT.
#include "contract.h"

TEST(Variants, CopyIsDeep) {
    const OLECHAR source[] = {'a', 0, 'b'};
    Variant text;
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocStringLen(source, 3);
    Variant copy(OLESTR("old"));
    ASSERT_EQ(S_OK, VariantCopy(&copy, &text));
    EXPECT_NE(text.bstrVal, copy.bstrVal);
    EXPECT_EQ(Text(source, 3), TextOf(copy.bstrVal));

    Variant null;
    null.vt = VT_BSTR;
    null.bstrVal = nullptr;
    ASSERT_EQ(S_OK, VariantCopy(&copy, &null));
    ASSERT_EQ(VT_BSTR, copy.vt);
    EXPECT_EQ(Text(), TextOf(copy.bstrVal)) << "a copy of a null string is an empty one";

    EXPECT_EQ(S_OK, VariantCopy(&text, &text));
    EXPECT_EQ(Text(source, 3), TextOf(text.bstrVal));
}

TEST(Variants, ObjectsAreCounted) {
    CountedObject object;
    {
        Variant first;
        first.vt = VT_UNKNOWN;
        first.punkVal = &object;
        object.AddRef();
        Variant second;
        ASSERT_EQ(S_OK, VariantCopy(&second, &first));
        EXPECT_EQ(2, object.references);
        Variant third;
        ASSERT_EQ(S_OK, VariantChangeType(&third, &first, 0, VT_UNKNOWN));
        EXPECT_EQ(3, object.references);
        Variant failed;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, VariantChangeType(&failed, &first, 0, VT_I4));
        EXPECT_EQ(3, object.references);
        ASSERT_EQ(S_OK, VariantClear(&second));
        EXPECT_EQ(VT_EMPTY, second.vt);
        EXPECT_EQ(2, object.references);
    }
    EXPECT_EQ(0, object.references);
}

TEST(Variants, ReferencesAreNotOwned) {
    BSTR target = SysAllocString(OLESTR("abc"));
    VARIANT reference = {};
    reference.vt = VT_BYREF | VT_BSTR;
    reference.pbstrVal = &target;
    Variant copy;
    ASSERT_EQ(S_OK, VariantCopy(&copy, &reference));
    EXPECT_EQ(&target, copy.pbstrVal);
    Variant followed;
    ASSERT_EQ(S_OK, VariantCopyInd(&followed, &reference));
    EXPECT_EQ(VT_BSTR, followed.vt);
    EXPECT_EQ(Text(OLESTR("abc")), TextOf(followed.bstrVal));
    EXPECT_NE(target, followed.bstrVal);
    EXPECT_EQ(S_OK, VariantClear(&copy));
    EXPECT_EQ(Text(OLESTR("abc")), TextOf(target));
    SysFreeString(target);
}

// SPDX-License-Identifier: MIT
//
// SAFEARRAY: who owns the elements.
#include "contract.h"

namespace {
void Put(SAFEARRAY* array, LONG index, VARIANT& value) { ASSERT_EQ(S_OK, SafeArrayPutElement(array, &index, &value)); }
} // namespace

TEST(Arrays, StringsAreCopied) {
    SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, 0, 2);
    LONG index = 0;
    BSTR text = SysAllocString(OLESTR("abc"));
    EXPECT_EQ(S_OK, SafeArrayPutElement(array, &index, text)); // the string itself, not its address
    EXPECT_NE(text, *static_cast<BSTR*>(array->pvData));
    EXPECT_EQ(S_OK, SafeArrayPutElement(array, &index, text)); // replaces
    SysFreeString(text);
    EXPECT_EQ(S_OK, SafeArrayGetElement(array, &index, &text));
    EXPECT_EQ(Text(OLESTR("abc")), TextOf(text));
    SysFreeString(text);
    index = 1;
    EXPECT_EQ(S_OK, SafeArrayGetElement(array, &index, &text));
    EXPECT_EQ(nullptr, text) << "an element that was never put";
    EXPECT_EQ(S_OK, SafeArrayDestroy(array));
}

TEST(Arrays, ObjectsAndVariantsAreOwned) {
    CountedObject object;
    SAFEARRAY* const objects = SafeArrayCreateVector(VT_UNKNOWN, 0, 2);
    LONG index = 1;
    IUnknown* out = nullptr;
    EXPECT_EQ(S_OK, SafeArrayPutElement(objects, &index, static_cast<IUnknown*>(&object)));
    EXPECT_EQ(S_OK, SafeArrayGetElement(objects, &index, &out));
    EXPECT_EQ(2, object.references);
    ASSERT_EQ(&object, out);
    out->Release();

    // An array of variants that hold a string, the object, and an array in turn.
    SAFEARRAY* const array = SafeArrayCreateVector(VT_VARIANT, 0, 3);
    Variant value(OLESTR("abc"));
    Put(array, 0, value);
    VARIANT inner = {};
    inner.vt = VT_UNKNOWN;
    inner.punkVal = &object;
    Put(array, 1, inner);
    inner.vt = VT_ARRAY | VT_UNKNOWN;
    inner.parray = objects;
    Put(array, 2, inner);
    EXPECT_EQ(3, object.references); // two arrays of objects and one element
    Put(array, 0, inner);            // replaces the string
    EXPECT_EQ(4, object.references);

    VARIANT whole = {};
    whole.vt = VT_ARRAY | VT_VARIANT;
    whole.parray = array;
    Variant copy;
    ASSERT_EQ(S_OK, VariantCopy(&copy, &whole));
    EXPECT_EQ(7, object.references);
    index = 2;
    EXPECT_EQ(S_OK, SafeArrayGetElement(copy.parray, &index, &inner));
    EXPECT_EQ(VT_ARRAY | VT_UNKNOWN, inner.vt);
    EXPECT_EQ(8, object.references);
    EXPECT_EQ(S_OK, VariantClear(&inner));
    EXPECT_EQ(S_OK, VariantClear(&copy));
    EXPECT_EQ(S_OK, SafeArrayDestroy(array));
    EXPECT_EQ(S_OK, SafeArrayDestroy(objects));
    EXPECT_EQ(0, object.references);
}

// SPDX-License-Identifier: MIT
//
// SAFEARRAY: who owns the elements.
#include "contract.h"

namespace {
void Put(SAFEARRAY* array, LONG index, VARIANT& value) { ASSERT_EQ(S_OK, SafeArrayPutElement(array, &index, &value)); }
} // namespace

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

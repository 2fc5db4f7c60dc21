// SPDX-License-Identifier: MIT
//
// Names with characters of every kind, for every kind of named object: look-ups distinguish similar names, and
// notifications for a name reach its objects.
#include "hostileserver.h"

namespace {
XLXText Unit(int unit) { return XLXText(1, static_cast<OLECHAR>(unit)); }

class Names : public HostileTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }
    void ExpectFound(const XLXText& name);
};

void Names::ExpectFound(const XLXText& name) {
    ASSERT_EQ(Edit().AddType(name, "Item").result, S_OK);
    ASSERT_EQ(Edit().AddType(name + OLESTR("2"), name).result, S_OK);
    ASSERT_EQ(Edit().AddAttribute(name, name).result, S_OK);
    ASSERT_EQ(Edit().AddEditor(name, name, name).result, S_OK);
    ASSERT_EQ(Edit().AddRelation(name, "Document", name).result, S_OK);
    const auto type = Named(name + OLESTR("2"));
    EXPECT_EQ(LXRead(type.Get(), 0), name + OLESTR("2"));
    const auto attribute = AttributeOf(type, name); // inherited
    ASSERT_TRUE(attribute);
    EXPECT_TRUE(LXGet(Named(name), &ILXType::GetConfObjEditor, name, name, nullptr));
    EXPECT_TRUE(LXGet(Factory(), &ILXConfigFactory::GetParentChildEnum, name, nullptr));
    // Notifications for the name reach the objects.
    EXPECT_EQ(LXRead(attribute.Get(), XProperty::AttributeName), name);
    Edit().SetAttributeProperty(name, name, XProperty::Label, "first");
    EXPECT_EQ(LXRead(attribute.Get(), XProperty::Label), OLESTR("first"));
    Edit().SetAttributeProperty(name, name, XProperty::Label, "second");
    EXPECT_EQ(LXRead(attribute.Get(), XProperty::Label), OLESTR("second"));
    // Similar names are different names.
    for (const XLXText& other : {name + Unit(0), name.substr(0, name.size() - 1), XLXText(OLESTR(" ")) + name}) {
        Named(other, S_FALSE);
    }
    LONG derives = 0;
    const XBstrArgument base = LXArgument(name);
    BSTR bases[] = {base};
    EXPECT_EQ(LXCall(*m_cache, &ILXConfigFactoryCache::CheckTypeDerivesFrom, name + OLESTR("2"), 1, bases, &derives),
              S_OK);
    EXPECT_EQ(derives, 1);
}

TEST_F(Names, AreFoundExactlyAndNotified) {
    const XLXText odd[] = {OLESTR("a/b/0/2"),
                           OLESTR("%s%n%2F"),
                           OLESTR("a") + Unit(0) + OLESTR("b"),
                           Unit(0xD800),                // a lone surrogate
                           Unit(0xDC00) + Unit(0xD800), // surrogates in the wrong order
                           Unit(0xD83D) + Unit(0xDE00), // a surrogate pair
                           Unit(1) + Unit(10) + Unit(0xFFFF),
                           XLXText(65536, OLECHAR{'x'})};
    for (const XLXText& text : odd) {
        SCOPED_TRACE(LXNarrow(text.substr(0, 10)));
        ExpectFound(OLESTR("n") + text);
    }
}
} // namespace

// SPDX-License-Identifier: MIT
//
// Every kind of character in every kind of name: names are found exactly, kept apart, and notified.
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
    const XLXComBSTR key(name);
    EXPECT_EQ(LXRead(type.Get(), 0), name + OLESTR("2"));
    XLXComPtr<ILXAttribute> attribute;
    ASSERT_EQ(type->GetAttribute(key.Get(), attribute.Put()), S_OK); // inherited
    XLXComPtr<ILXConfObjEditor> editor;
    EXPECT_EQ(Named(name)->GetConfObjEditor(key.Get(), key.Get(), nullptr, editor.Put()), S_OK);
    XLXComPtr<ILXParentChildEnum> relations;
    EXPECT_EQ(Factory()->GetParentChildEnum(key.Get(), nullptr, relations.Put()), S_OK);
    // Notifications for this name reach the objects.
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
    BSTR bases[] = {key.Get()};
    EXPECT_EQ(m_cache->CheckTypeDerivesFrom(XLXComBSTR(name + OLESTR("2")).Get(), 1, bases, &derives), S_OK);
    EXPECT_EQ(derives, 1);
}

TEST_F(Names, AreFoundExactlyAndNotified) {
    const XLXText odd[] = {OLESTR("'\"`"),
                           OLESTR("a/b/0/2"),
                           OLESTR("a|b"),
                           OLESTR("%s%n%2F"),
                           OLESTR("a") + Unit(0) + OLESTR("b"),
                           Unit(0xD800),                // half a pair
                           Unit(0xDC00) + Unit(0xD800), // a pair the wrong way round
                           Unit(0xD83D) + Unit(0xDE00), // a pair
                           Unit(1) + Unit(10) + Unit(0xFFFF),
                           XLXText(65536, OLECHAR{'x'})};
    for (const XLXText& text : odd) {
        SCOPED_TRACE(LXNarrow(text.substr(0, 10)));
        ExpectFound(OLESTR("n") + text);
    }
}
} // namespace

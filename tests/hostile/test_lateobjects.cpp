// SPDX-License-Identifier: MIT
//
// A server that delivers values and no objects: each object is asked for when it is needed, and only then.
#include "inside.h"

namespace {
constexpr const char* GetType = "ILXConfigFactory::GetType";
constexpr const char* GetEditor = "ILXType::GetConfObjEditor";
constexpr const char* GetAttribute = "ILXType::GetAttribute";
constexpr const char* GetTypes = "ILXAttribute::GetAttributeTypeEnum";

class LateObjects : public CacheTest {
protected:
    LateObjects() { m_server->DeliverComponentObjects(false); }
    void TearDown() override {
        if (m_cache) { Terminate(); }
    }

    XLXComPtr<ILXConfObjEditor> Editor() {
        XLXComPtr<ILXConfObjEditor> editor;
        EXPECT_EQ(Type("Pump")->GetConfObjEditor(XLXComBSTR(OLESTR("E.Pump")).Get(), nullptr, nullptr, editor.Put()),
                  S_OK);
        return editor;
    }
    XLXComPtr<ILXAttributeType> Feet() {
        XLXComPtr<ILXAttributeTypeEnum> types;
        XLXComPtr<ILXAttributeType> feet;
        EXPECT_EQ(Attribute("Pump", "Head")->GetAttributeTypeEnum(types.Put()), S_OK);
        EXPECT_EQ(types->GetSingleNext(feet.Put()), S_OK);
        EXPECT_EQ(LXRead(feet.Get(), 3), OLESTR("Feet"));
        return feet;
    }
    static HRESULT ServerTypeOf(const XLXComPtr<ILXType>& type, XLXComPtr<ILXType>& server) {
        return type.As<ILXTypeCache>()->GetServerType(server.Put());
    }
    static HRESULT ServerTypeOf(const XLXComPtr<ILXType>& type) {
        XLXComPtr<ILXType> server;
        return ServerTypeOf(type, server);
    }
    /// Reads a value that the cache does not have: the server's object is needed.
    template <class Interface> static HRESULT ReadStale(const XLXComPtr<Interface>& object) {
        LXNotifyStraight(object, OLESTR("properties/Pump/0/1"));
        XLXComVariant value;
        return object->GetProperty(3, value.Put());
    }
};

TEST_F(LateObjects, EachIsAskedForOnceAndNotWhileRecordsAreParsed) {
    ASSERT_EQ(Start(), S_OK);
    XLXComPtr<ILXType> pump;
    XLXComPtr<ILXConfObjEditor> editor;
    XLXComPtr<ILXAttributeType> feet;
    ExpectCalls(0, [&] {
        pump = Type("Pump");
        editor = Editor();
        feet = Feet();
    });
    const auto asked = [&](const auto& object) { // by another thread than the one that parsed
        const XCallCounts before = Calls().Counts();
        EXPECT_EQ(std::async(std::launch::async, [&] { return ReadStale(object); }).get(), S_OK);
        EXPECT_EQ(std::async(std::launch::async, [&] { return ReadStale(object); }).get(), S_OK);
        return Calls().Counts().Since(before);
    };
    const XCallCounts ofEditor = asked(editor);
    EXPECT_EQ(ofEditor.Total(), 4u) << ofEditor.Text(); // two of these, and the values twice
    EXPECT_EQ(ofEditor.Of(GetType) + ofEditor.Of(GetEditor), 2u) << ofEditor.Text();
    const XCallCounts ofFeet = asked(feet);
    EXPECT_EQ(ofFeet.Of(GetType), 0u) << "the editor's question had it";
    EXPECT_EQ(ofFeet.Of(GetAttribute), 1u) << ofFeet.Text();
    EXPECT_EQ(ofFeet.Of(GetTypes), 1u) << ofFeet.Text();
    XLXComPtr<ILXType> server;
    ExpectCalls(0, [&] { EXPECT_EQ(ServerTypeOf(pump, server), S_OK); });
    EXPECT_EQ(LXRead(server.Get(), XProperty::TypeName), OLESTR("Pump"));
    const auto item = Type("Item");
    ExpectCalls(1, [&] { EXPECT_EQ(ServerTypeOf(item), S_OK); });
    ExpectCalls(0, [&] { EXPECT_EQ(ServerTypeOf(item), S_OK); });
}

TEST_F(LateObjects, AreRefreshedInPlaceAndRemoved) {
    ASSERT_EQ(Start(), S_OK);
    const auto pump = Type("Pump");
    const auto editor = Editor();
    const auto feet = Feet();
    Edit().SetEditorProperty("Pump", "E.Pump", XProperty::EditorBrowserId, "Other");
    Edit().SetAttributeTypeProperty("Pump", "Head", "Feet", 1, "short");
    EXPECT_EQ(LXRead(editor.Get(), XProperty::EditorBrowserId), OLESTR("Other"));
    EXPECT_EQ(LXRead(feet.Get(), 1), OLESTR("short"));
    Edit().AddAttribute("Pump", "New", 1);
    EXPECT_EQ(Editor(), editor);
    EXPECT_EQ(Feet(), feet);
    EXPECT_EQ(LXRead(feet.Get(), 1), OLESTR("short"));
    Edit().RemoveAttributeType("Pump", "Head", "Feet");
    Edit().RemoveEditor("Pump", "E.Pump");
    XLXComPtr<ILXConfObjEditor> none;
    EXPECT_EQ(pump->GetConfObjEditor(XLXComBSTR(OLESTR("E.Pump")).Get(), nullptr, nullptr, none.Put()), S_FALSE);
    EXPECT_EQ(ReadStale(editor), E_POINTER) << "the server has no such editor any more";

    // A type that is made anew under its name is another object of the server's.
    EXPECT_EQ(ServerTypeOf(pump), S_OK);
    Edit().RemoveType("Pump");
    Edit().AddType("Pump", "Item");
    Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "anew");
    EXPECT_EQ(Type("Pump"), pump);
    XLXComPtr<ILXType> server;
    ExpectCalls(1, [&] { EXPECT_EQ(ServerTypeOf(pump, server), S_OK); });
    EXPECT_EQ(LXRead(server.Get(), XProperty::TypeLabel), OLESTR("anew"));
}

TEST_F(LateObjects, WhatTheServerDoesNotGiveIsAnError) {
    ASSERT_EQ(Start(), S_OK);
    const auto pump = Type("Pump");
    const auto editor = Editor();
    const auto feet = Feet();
    Calls().FailCall(GetType, E_ACCESSDENIED);
    EXPECT_EQ(ServerTypeOf(pump), E_ACCESSDENIED);
    Calls().FailCall(GetType, S_FALSE);
    EXPECT_EQ(ReadStale(editor), E_POINTER);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("invalid pointer: server object"));
    Calls().FailCall(GetEditor, E_ACCESSDENIED);
    EXPECT_EQ(ReadStale(editor), E_ACCESSDENIED);
    EXPECT_EQ(LXErrorInformation::Take().description,
              OLESTR("the server failed to give the object of a type's component"));
    Calls().FailCall(GetTypes, E_ACCESSDENIED);
    EXPECT_EQ(ReadStale(feet), E_ACCESSDENIED);
    Edit().RemoveAttributeType("Pump", "Head", "Feet", XNotify::No);
    EXPECT_EQ(ReadStale(feet), E_POINTER);
    EXPECT_EQ(ReadStale(editor), S_OK) << "asked again";
}

TEST_F(LateObjects, TheNextConnectionIsNotAskedForThoseOfTheLast) {
    ASSERT_EQ(Start(), S_OK);
    auto pump = Type("Pump");
    const auto item = Type("Item");
    const auto editor = Editor();
    const auto feet = Feet();
    Terminate();
    ASSERT_EQ(Start(), S_OK);
    for (const char* when : {"the type is there", "the type is gone"}) {
        ExpectCalls(0, [&] {
            EXPECT_EQ(ServerTypeOf(item), E_POINTER) << when;
            EXPECT_EQ(ReadStale(editor), E_POINTER) << when;
            EXPECT_EQ(ReadStale(feet), E_POINTER) << when;
        });
        pump.Reset();
    }

    // One that ends while it is asked is still the one that answers.
    const auto document = Type("Document");
    {
        Inside ended(Calls(), GetType, [&] {
            Terminate();
            ASSERT_EQ(Start(), S_OK);
        });
        EXPECT_EQ(ServerTypeOf(document), S_OK);
    }
    Terminate();
    m_cache.Reset();
    ExpectCalls(0, [&] { EXPECT_EQ(ServerTypeOf(item), E_POINTER); });
}

TEST_F(LateObjects, OneThatIsAskedForWhileANewRecordComesIsNotKept) {
    ASSERT_EQ(Start(), S_OK);
    const auto name = Attribute("Item", "Name");
    const auto format = [&] {
        XLXComPtr<ILXFormat> none;
        EXPECT_EQ(name->GetFormat(1, none.Put()), S_FALSE);
    };
    {
        Inside overtaken(Calls(), GetAttribute, [&] {
            m_server->SendNotification("objects/x/0/2");
            EXPECT_EQ(Attribute("Item", "Name"), name);
        });
        format();
    }
    const auto before = Calls().Of(GetAttribute);
    format();
    EXPECT_EQ(Calls().Of(GetAttribute), before + 1) << "through the object of the latest record";
}
} // namespace

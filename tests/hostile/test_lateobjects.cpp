// SPDX-License-Identifier: MIT
//
// A server that delivers values without objects: each object is requested only when it is needed.
#include "inside.h"

namespace {
constexpr const char* GetType = "ILXConfigFactory::GetType";
constexpr const char* GetEditor = "ILXType::GetConfObjEditor";
constexpr const char* GetAttribute = "ILXType::GetAttribute";
constexpr const char* GetTypes = "ILXAttribute::GetAttributeTypeEnum";

class LateObjects : public CacheTest {
protected:
    LateObjects() { m_server->DeliverComponentObjects(false); }
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }

    XLXComPtr<ILXConfObjEditor> Editor() {
        return LXGet(Type("Pump"), &ILXType::GetConfObjEditor, "E.Pump", nullptr, nullptr);
    }
    XLXComPtr<ILXAttributeType> Feet() {
        const auto feet = LXElements(LXGet(Attribute("Pump", "Head"), &ILXAttribute::GetAttributeTypeEnum)).at(0);
        EXPECT_EQ(LXRead(feet.Get(), 3), OLESTR("Feet"));
        return feet;
    }
    static XLXComPtr<ILXType> ServerTypeOf(const XLXComPtr<ILXType>& type, HRESULT expected = S_OK) {
        XLXComPtr<ILXType> server;
        EXPECT_EQ(type.As<ILXTypeCache>()->GetServerType(server.Put()), expected);
        return server;
    }
    /// Reads a value that the cache does not have, which needs the server's object.
    template <class Interface> static HRESULT ReadStale(const XLXComPtr<Interface>& object) {
        LXNotifyStraight(object, "properties/Pump/0/1");
        XLXComVariant value;
        return object->GetProperty(3, value.Put());
    }
};

TEST_F(LateObjects, EachIsRequestedOnceAndNotWhileRecordsAreParsed) {
    XLXComPtr<ILXType> pump;
    XLXComPtr<ILXConfObjEditor> editor;
    XLXComPtr<ILXAttributeType> feet;
    ExpectCalls(0, [&] {
        pump = Type("Pump");
        editor = Editor();
        feet = Feet();
    });
    const auto asked = [&](const auto& object) { // on another thread than the one that parsed the records
        const XCallCounts before = Calls().Counts();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(std::async(std::launch::async, [&] { return ReadStale(object); }).get(), S_OK);
        }
        return Calls().Counts().Since(before);
    };
    const XCallCounts ofEditor = asked(editor);
    EXPECT_EQ(ofEditor.Total(), 4u) << ofEditor.Text(); // two for the object, and two for its values
    EXPECT_EQ(ofEditor.Of(GetType) + ofEditor.Of(GetEditor), 2u) << ofEditor.Text();
    const XCallCounts ofFeet = asked(feet);
    EXPECT_EQ(ofFeet.Of(GetType), 0u) << "the request for the editor has got it already";
    EXPECT_EQ(ofFeet.Of(GetAttribute), 1u) << ofFeet.Text();
    EXPECT_EQ(ofFeet.Of(GetTypes), 1u) << ofFeet.Text();
    XLXComPtr<ILXType> server;
    ExpectCalls(0, [&] { server = ServerTypeOf(pump); });
    EXPECT_EQ(LXRead(server.Get(), XProperty::TypeName), OLESTR("Pump"));
    const auto item = Type("Item");
    ExpectCalls(1, [&] { ServerTypeOf(item); });
    ExpectCalls(0, [&] { ServerTypeOf(item); });
}

// tests/component/test_agreement.cpp covers refreshes and removals of late objects.
TEST_F(LateObjects, OfARecreatedTypeAreTheNewOnes) {
    const auto pump = Type("Pump");
    const auto editor = Editor();
    Edit().RemoveEditor("Pump", "E.Pump");
    EXPECT_EQ(ReadStale(editor), E_POINTER) << "the server no longer has the editor";
    ServerTypeOf(pump);
    Edit().RemoveType("Pump");
    Edit().AddType("Pump", "Item");
    Edit().SetTypeProperty("Pump", XProperty::TypeLabel, "new");
    EXPECT_EQ(Type("Pump"), pump);
    XLXComPtr<ILXType> server;
    ExpectCalls(1, [&] { server = ServerTypeOf(pump); });
    EXPECT_EQ(LXRead(server.Get(), XProperty::TypeLabel), OLESTR("new"));
}

TEST_F(LateObjects, MissingOnesAreErrors) {
    const auto pump = Type("Pump");
    const auto editor = Editor();
    const auto feet = Feet();
    Calls().FailCall(GetType, E_ACCESSDENIED);
    ServerTypeOf(pump, E_ACCESSDENIED);
    Calls().FailCall(GetType, S_FALSE);
    ExpectRefusal(ReadStale(editor), E_POINTER, "invalid pointer: server object");
    Calls().FailCall(GetEditor, E_ACCESSDENIED);
    ExpectRefusal(ReadStale(editor), E_ACCESSDENIED, "the server failed to give the object of a type's component");
    Calls().FailCall(GetTypes, E_ACCESSDENIED);
    EXPECT_EQ(ReadStale(feet), E_ACCESSDENIED);
    Edit().RemoveAttributeType("Pump", "Head", "Feet", XNotify::No);
    EXPECT_EQ(ReadStale(feet), E_POINTER);
    EXPECT_EQ(ReadStale(editor), S_OK) << "requested again";
}

TEST_F(LateObjects, TheNextConnectionIsNotAskedForThoseOfThePreviousOne) {
    auto pump = Type("Pump");
    const auto item = Type("Item");
    const auto editor = Editor();
    const auto feet = Feet();
    Terminate();
    ASSERT_EQ(Start(), S_OK);
    for (const char* when : {"the type is there", "the type is gone"}) {
        ExpectCalls(0, [&] {
            ServerTypeOf(item, E_POINTER);
            EXPECT_EQ(ReadStale(editor), E_POINTER) << when;
            EXPECT_EQ(ReadStale(feet), E_POINTER) << when;
        });
        pump.Reset();
    }

    // A request returns its answer even if its connection ends meanwhile.
    const auto document = Type("Document");
    {
        Inside ended(Calls(), GetType, [&] {
            Terminate();
            ASSERT_EQ(Start(), S_OK);
        });
        ServerTypeOf(document);
    }
    Terminate();
    m_cache.Reset();
    ExpectCalls(0, [&] { ServerTypeOf(item, E_POINTER); });
}

TEST_F(LateObjects, OneRequestedWhileANewRecordArrivesIsNotKept) {
    const auto name = Attribute("Item", "Name");
    const auto format = [&] { EXPECT_EQ(LXResult(name, &ILXAttribute::GetFormat, 1), S_FALSE); };
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

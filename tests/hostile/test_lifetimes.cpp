// SPDX-License-Identifier: MIT
//
// Servers that call the cache from inside their methods, servers that go away, and clients that terminate and release
// objects at the wrong time and in the wrong order.
#include "hostileserver.h"

#include <random>
#include <set>

namespace {
XServerModel FullModel() {
    XServerModel model = LXTestModel();
    model.AddGlobalSpec("Length").AddFormat(1);
    model.AddRelation("Item", "Document", "nodes").AddPCInfo("Tree");
    return model;
}

class Lifetimes : public HostileTest {
protected:
    Lifetimes() : HostileTest(FullModel()) {}

    using Objects = std::vector<XLXComPtr<IUnknown>>;

    /// Requests one of everything and keeps the objects. Failures must come with error information.
    Objects AskForEverything() {
        Objects all;
        const auto keep = [&](const char* what, HRESULT result, const auto& object) {
            ExpectExplained(result, what);
            EXPECT_FALSE(FAILED(result) && object) << what;
            if (object) { all.emplace_back(object); }
            return static_cast<bool>(object);
        };
        XLXComPtr<ILXType> type;
        XLXComPtr<ILXTypeEnum> types;
        XLXComPtr<ILXBrowserIdEnum> browsers;
        XLXComPtr<ILXGlobalAttributeFormatSpecEnum> specs;
        XLXComPtr<ILXGlobalAttributeFormatSpec> spec;
        XLXComPtr<ILXParentChildEnum> relations;
        XLXComPtr<ILXParentChild> relation;
        XLXComPtr<ILXPCInfoEnum> infos;
        XLXComPtr<ILXFormat> format;
        const auto factory = Factory();
        HRESULT result = m_cache->GetCachedType(m_server->DataObject("Pump").Get(), nullptr, type.Put());
        if (keep("type", result, type)) { AskType(*type.Get(), keep); }
        result = factory->GetTypeEnum(nullptr, types.Put());
        keep("types", result, types);
        result = factory->GetBrowserIdEnum(browsers.Put());
        keep("browser ids", result, browsers);
        result = factory->GetAllGlobalAttributeFormatSpecs(specs.Put());
        if (keep("specs", result, specs) && specs->GetSingleNext(spec.Put()) == S_OK) {
            result = spec->GetFormat(1, format.Put());
            keep("spec's format", result, format);
        }
        result = factory->GetParentChildEnum(XLXComBSTR(OLESTR("Item")).Get(), nullptr, relations.Put());
        if (keep("relations", result, relations) && relations->GetSingleNext(relation.Put()) == S_OK) {
            result = relation->GetPCInfoEnum(infos.Put());
            keep("PC infos", result, infos);
        }
        result = m_cache->GetPCEnum2(nullptr, XLXComBSTR(OLESTR("Item")).Get(), nullptr, 0, relations.Put());
        keep("relations below", result, relations);
        return all;
    }

    template <class Keep> void AskType(ILXType& type, Keep&& keep) {
        XLXComPtr<ILXAttribute> attribute;
        XLXComPtr<ILXAttributeEnum> attributes;
        XLXComPtr<ILXAttributeEnum> ownAttributes;
        XLXComPtr<ILXAttributeTypeEnum> attributeTypes;
        XLXComPtr<ILXFormat> format;
        XLXComPtr<ILXGroup> group;
        XLXComPtr<ILXGroupEnum> groups;
        XLXComPtr<ILXConfObjEditor> editor;
        XLXComVariant value;
        HRESULT result = type.GetProperty(5, value.Put()); // empty, so the server is asked
        ExpectExplained(result, "property");
        result = type.GetAttributeEnum(attributes.Put());
        keep("attributes", result, attributes);
        result = XLXComPtr<ILXType>(&type).As<ILXTypeInheritance>()->GetAttributeEnum(0, ownAttributes.Put());
        keep("own attributes", result, ownAttributes);
        result = type.GetAttribute(XLXComBSTR(OLESTR("Head")).Get(), attribute.Put());
        if (keep("attribute", result, attribute)) {
            result = attribute->GetFormat(1, format.Put());
            keep("format", result, format);
            result = attribute->GetAttributeTypeEnum(attributeTypes.Put());
            keep("attribute types", result, attributeTypes);
        }
        result = type.GetGroup(7, group.Put());
        if (keep("group", result, group)) {
            result = group->GetFormat(format.Put());
            keep("group's format", result, format);
            result = group->GetChildGroupEnum(groups.Put());
            keep("child groups", result, groups);
        }
        result = type.GetDefaultEditor(XLXComBSTR(OLESTR("Tree")).Get(), editor.Put());
        keep("editor", result, editor);
    }

    void Invalidate() {
        m_server->SendNotification("objects/x/0/1");
        m_server->SendNotification("pc/x/0/1");
    }

    /// A client's complete session. The cache may be terminated in the middle.
    void Live() {
        HRESULT result = Start(0);
        ExpectExplained(result, "Initialize");
        AskForEverything();
        Invalidate();
        AskForEverything();
        EXPECT_EQ(Client()->Terminate(), S_OK);
    }

    void ExpectRightAnswers() {
        ASSERT_EQ(Start(), S_OK);
        EXPECT_EQ(AskForEverything().size(), 16u);
        EXPECT_EQ(LXRead(Attribute("Pump", "Name").Get(), XProperty::Label), OLESTR("Name of the item"));
        Terminate();
    }
};

TEST_F(Lifetimes, AServerMayCallTheCacheFromInsideEachOfItsMethods) {
    const std::function<void()> calls[] = {
        [&] { (void)AskForEverything(); },
        [&] { m_server->SendNotification("objects/x/0/1"); },
        [&] { m_server->SendNotification("properties/x/0/1"); },
        [&] { m_server->SendNotification("pc/x/0/4"); },
        [&] { (void)Start(3); }, // already initialised
    };
    std::set<std::string> methods;
    for (const auto& inner : calls) {
        Calls().SetHook([&](const XServerCall& call) {
            methods.emplace(call.name);
            inner();
        });
        Live();
        Calls().SetHook({});
        ExpectRightAnswers();
    }
    EXPECT_GE(methods.size(), 20u) << "methods that were called back from";
}

TEST_F(Lifetimes, TheCacheMayEndInsideAnyCallToTheServer) {
    unsigned points = 0;
    for (unsigned n = 1; n < 1000; ++n) {
        SCOPED_TRACE("at point " + std::to_string(n));
        points = 0;
        Calls().SetHook([&](const XServerCall&) {
            if (++points == n) { EXPECT_EQ(Client()->Terminate(), S_OK); }
        });
        Live();
        Calls().SetHook({});
        EXPECT_EQ(m_server->Clients().size(), 0u);
        if (points < n) {
            break; // no such point
        }
        if (n % 8 == 0) { ExpectRightAnswers(); }
        m_cache.Reset();
    }
    EXPECT_GT(points, 50u);
    ExpectRightAnswers();
}

TEST_F(Lifetimes, TheCacheMayEndInsideANotification) {
    ASSERT_EQ(Start(), S_OK);
    const auto type = Type("Pump");
    m_server->AcceptForwardedNotifications(true);
    bool ended = false;
    Calls().SetHook([&](const XServerCall& call) {
        if (call.name == "ILXCallbackUpdate::DataObjectChanged" && !ended) {
            ended = true;
            EXPECT_EQ(Client()->Terminate(), S_OK);
        }
    });
    m_server->SendNotification("objects/x/0/1", "cfc"); // forwarded to the server's config factory
    Calls().SetHook({});
    EXPECT_TRUE(ended);
    EXPECT_EQ(LXRead(type.Get(), 0), OLESTR("Pump"));
    ExpectRightAnswers();
}

TEST_F(Lifetimes, HeldObjectsAnswerOrSayWhyNotAfterTheEnd) {
    ASSERT_EQ(Start(), S_OK);
    for (const bool serverToo : {false, true}) {
        const Objects all = AskForEverything();
        const auto type = Type("Pump");
        Terminate();
        if (serverToo) {
            m_factory.Reset();
            m_server.reset();
        }
        EXPECT_EQ(LXRead(type.Get(), 0), OLESTR("Pump"));
        const XLXComBSTR id(OLESTR("objects/x/0/1"));
        const XLXComBSTR dataType(OLESTR("cfc_specific"));
        for (const auto& object : all) {
            XLXComVariant value;
            if (const auto config = object.As<ILXConfigObject>()) {
                ExpectExplained(config->GetProperty(0, value.Put()), "property");
            }
            if (const auto callback = object.As<ILXCallbackUpdate>()) {
                EXPECT_EQ(callback->DataObjectChanged(id.Get(), dataType.Get(), 256, 5, 0, nullptr), S_OK);
            }
            if (const auto types = object.As<ILXTypeEnum>()) {
                EXPECT_EQ(LXReadAll<ILXType>(types, 0).size(), 4u); // a snapshot
            }
        }
        const auto keep = [](const char* what, HRESULT result, const auto& found) {
            ExpectExplained(result, what);
            return static_cast<bool>(found);
        };
        AskType(*type.Get(), keep);
        if (!serverToo) {
            XLXComPtr<ILXType> none;
            EXPECT_EQ(m_cache->GetCachedType(m_server->DataObject("Pump").Get(), nullptr, none.Put()), E_POINTER);
            EXPECT_TRUE(LXErrorInformation::Take().present);
            ASSERT_EQ(Start(), S_OK);
        }
    }
    m_cache.Reset();
    m_server = XSampleServer::Create(FullModel()); // for the fixture's final check
}

TEST_F(Lifetimes, AnyOrderOfReleasesLeavesNothingAlive) {
    for (unsigned seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const bool noNotifications = seed % 2 == 0; // without a registered callback, Terminate is not required
        ASSERT_EQ(Start(static_cast<LONG>(seed % 16), noNotifications), S_OK);
        const long before = m_server->LiveObjects().objects;
        Objects all = AskForEverything();
        EXPECT_GT(m_server->LiveObjects().objects, before);
        all.emplace_back(m_cache);
        if (!noNotifications) { Terminate(); }
        m_cache.Reset();
        std::shuffle(all.begin(), all.end(), std::mt19937(seed));
        while (!all.empty()) {
            all.pop_back();
        }
        m_factory.Reset();
        EXPECT_EQ(m_server->LiveObjects().objects, 0);
        EXPECT_EQ(m_server->LiveObjects().references, 0);
    }
}
} // namespace

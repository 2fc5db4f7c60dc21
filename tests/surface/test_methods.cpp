// SPDX-License-Identifier: MIT
//
// Behaviour that all kinds of objects share, each in one table, and methods that no other suite calls.
#include "objectworld.h"

#include "lxparentchildcache.h"

namespace {
class Methods : public testing::Test {
protected:
    template <class I> XLXComPtr<I> Of(const char* kind) const { return m_world.Object(kind).As<I>(); }
    /// An object as a configuration object. QueryInterface does not return this interface; it is the beginning of the
    /// object's own one.
    ILXConfigObject* ConfigObject(const char* kind) const {
        for (const XFace& face : LXFacesOf(*m_world.Object(kind).Get())) {
            if (std::string(face.interface_->methods.front().name) == "Get") {
                return static_cast<ILXConfigObject*>(face.face);
            }
        }
        throw std::logic_error(std::string(kind) + " is no configuration object");
    }

    XObjectWorld m_world{XStage::Initialised};
};

/// A property that a kind of object has, by index and by name; null text: any.
struct Property {
    const char* kind;
    int index;
    const OLECHAR* name;
    const OLECHAR* text;
    bool readOnly = false;
};
const Property Properties[] = {
    {"type", 0, OLESTR("LXCFG_typename"), OLESTR("Pump")},
    {"page", 6, OLESTR("LXCFG_pagenumber"), OLESTR("1")},
    {"group", 2, OLESTR("LXCFG_groupnumber"), OLESTR("7")},
    {"attribute", 0, OLESTR("LXCFG_attributename"), OLESTR("Head")},
    {"attribute type", 3, OLESTR("LXCFG_attributetypename"), OLESTR("Feet")},
    {"format", 0, OLESTR("LXCFG_attributename"), nullptr},
    {"editor", 3, OLESTR("LXCFG_progid"), OLESTR("E.Pump")},
    {"global format spec", 0, OLESTR("LXCFGAFS_attributepropertyid"), nullptr},
    {"browser id", 0, OLESTR("LXCFG_browserid"), OLESTR("Tree"), true},
    {"relation", 1, OLESTR("LXCFPC_childname"), OLESTR("Pump")},
    {"inherited relation", 0, OLESTR("LXCFPC_childlistname"), OLESTR("parts")},
    {"inherited relation", 1, OLESTR("LXCFPC_childname"), OLESTR("Below"), true},
    {"inherited relation", 19, OLESTR("LXCFPC_parentname"), OLESTR("Derived"), true},
    {"PC info", 1, OLESTR("LXCFG_pcinfobrowserid"), OLESTR("Tree")},
    {"transient relation", 19, OLESTR("LXCFPC_parentname"), OLESTR("Plan")},
    {"transient PC info", 1, OLESTR("LXCFG_pcinfobrowserid"), OLESTR("Tree"), true},
    {"transient attribute", 0, OLESTR("LXCFG_attributename"), OLESTR("N")},
};

TEST_F(Methods, AValueIsTheSameByIndexAndByName) {
    for (const Property& row : Properties) {
        SCOPED_TRACE(row.kind);
        ILXConfigObject* const object = ConfigObject(row.kind);
        const XLXComBSTR name(row.name);
        const auto byName = [&] {
            XLXComVariant value;
            EXPECT_EQ(object->Get(name.Get(), value.Put()), S_OK);
            return value.AsText();
        };
        const XLXText first = LXRead(object, row.index);
        EXPECT_EQ(byName(), first);
        EXPECT_TRUE(row.text == nullptr || first == row.text);
        const auto wanted = [&](const OLECHAR* text) { return row.readOnly ? first : XLXText(text); };
        object->Set(name.Get(), XLXComVariant::FromBstr(OLESTR("by name")).Get());
        EXPECT_EQ(LXRead(object, row.index), wanted(OLESTR("by name")));
        object->SetProperty(row.index, XLXComVariant::FromBstr(OLESTR("by index")).Get());
        EXPECT_EQ(byName(), wanted(OLESTR("by index")));
    }
    // What is written to an inherited relation is the base's.
    EXPECT_EQ(LXRead(ConfigObject("relation"), LXRM_CHILDLISTNAME), OLESTR("by index"));
    EXPECT_EQ(LXRead(ConfigObject("relation"), LXRM_PARENTNAME), OLESTR("by index"));
}

TEST_F(Methods, EveryCachedObjectTakesNotifications) {
    const auto calls = [&] { return m_world.Server().Calls().Total(); };
    for (const char* const kind : {"type", "page", "group", "attribute", "format", "attribute type", "editor",
                                   "global format spec", "relation", "browser id", "PC info"}) {
        SCOPED_TRACE(kind);
        const auto callback = Of<ILXCallbackUpdate>(kind);
        ASSERT_TRUE(callback);
        EXPECT_EQ(callback->CheckCallbackValid(), S_OK);
        EXPECT_EQ(callback->SetCallbackId(7), S_OK);
        tagLXClientInfo info = {};
        EXPECT_EQ(callback->GetClientInfo(&info), S_OK);
        XLXComBSTR texts[3]; // computer, user, password
        texts[0].Attach(info.bstrComputerName);
        texts[1].Attach(info.bstrUserName);
        texts[2].Attach(info.bstrPWD);
        EXPECT_EQ(info.ulProcessID, GetCurrentProcessId());
        EXPECT_TRUE(!texts[0].View().empty() && texts[1].View() == texts[0].View() && texts[2].View().empty());
        EXPECT_EQ(callback->ServerIsTerminating(), S_OK);
        ILXConfigObject* const object = ConfigObject(kind);
        LXRead(object, 0);
        const auto before = calls();
        const XLXText served = LXRead(object, 0); // ServerIsTerminating has made nothing stale
        EXPECT_EQ(calls(), before);
        EXPECT_EQ(LXCall(*callback, &ILXCallbackUpdate::DataObjectChanged, "objects/x/0/1", "cfc_specific", 0u, 1u, 0u,
                         nullptr),
                  S_OK);
        EXPECT_EQ(LXRead(object, 0), served);
        EXPECT_EQ(calls(), before + 1);
    }
}

TEST_F(Methods, AttributeTypesAreAddedAndRemovedOnlyOnTheServer) {
    const auto attribute = Of<ILXAttribute>("attribute");
    const auto listed = [&] {
        return LXList(XProperty::AttributeTypeName, attribute, &ILXAttribute::GetAttributeTypeEnum);
    };
    const std::vector<std::string> cached = {"Feet", "Metres"};
    XLXComPtr<ILXAttributeType> added;
    LONG removed = 0;
    ASSERT_EQ(attribute->AddAttributeType(added.Put()), S_OK);
    EXPECT_EQ(m_world.Server().Calls().Of("ILXAttribute::AddAttributeType"), 1u);
    EXPECT_EQ(listed(), cached);
    EXPECT_EQ(attribute->RemoveAttributeType(added.Get(), &removed), S_OK);
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(attribute->RemoveAttributeType(added.Get(), &removed), E_INVALIDARG); // the server's answer
}

TEST_F(Methods, AManagerCreatesSpecsAndKeepsItsModeAndCallbackId) {
    XLXComPtr<ILXGlobalAttributeFormatSpec> spec;
    EXPECT_EQ(Of<ILXConfigFactory>("manager")->CreateGlobalAttributeFormatSpec(spec.Put()), S_OK);
    EXPECT_TRUE(spec);
    EXPECT_EQ(m_world.Server().Model().specs.size(), 3u);
    LONG mode = 0;
    EXPECT_EQ(m_world.Cache().SetCFCDataTransferMode(2), S_OK);
    EXPECT_EQ(m_world.Cache().GetCFCDataTransferMode(&mode), S_OK);
    EXPECT_EQ(mode, 2);
    const auto callback = Of<ILXCallbackUpdate>("manager");
    EXPECT_EQ(callback->CheckCallbackValid(), S_OK);
    EXPECT_EQ(callback->ServerIsTerminating(), S_OK);
    ASSERT_EQ(m_world.Server().Clients().size(), 1u);
    const LONG registered = m_world.Server().Clients().front().id;
    EXPECT_EQ(callback->SetCallbackId(registered + 1), S_OK);
    EXPECT_EQ(callback->SetCallbackId(registered), S_OK); // Terminate unregisters the last one
    EXPECT_EQ(Of<IDPFObject>("manager")->Terminate(), S_OK);
    EXPECT_TRUE(m_world.Server().Clients().empty());
}

TEST_F(Methods, AManagerHoldsTheTwoHostObjectsAndNoOthers) {
    const auto manager = Of<IDPFObject>("manager");
    const auto entry = Of<ILXServerEntryPoint>("manager");
    const XSampleServer& server = m_world.Server();
    const auto objects = [&] { return server.LiveObjects().objects; };
    const auto before = objects();
    EXPECT_EQ(manager->NotifyHostObject(server.DataObject("A").Get()), S_OK);
    EXPECT_EQ(manager->NotifyHostObjectPair(server.DataObject("A").Get(), nullptr), S_OK);
    EXPECT_EQ(manager->NotifyHostObjectLong(server.DataObject("A").Get(), 1), S_OK);
    EXPECT_EQ(entry->SetEntryObject(server.DataObject("A").Get()), S_OK);
    EXPECT_EQ(entry->ReleaseEntry(), S_OK);
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(manager->AttachHostObjects(server.DataObject("A").Get(), server.DataObject("B").Get()), S_OK);
    EXPECT_EQ(objects(), before + 2);
    EXPECT_EQ(manager->AttachHostObjects(nullptr, nullptr), S_OK);
    EXPECT_EQ(objects(), before);
    LONG flags[2] = {7, 7};
    EXPECT_EQ(entry->GetEntryFlags(&flags[0], &flags[1]), S_OK);
    EXPECT_EQ(flags[0], 0);
    EXPECT_EQ(flags[1], 1);
}
} // namespace

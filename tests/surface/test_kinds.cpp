// SPDX-License-Identifier: MIT
//
// What single kinds of objects do that the other suites do not ask.
#include "objecttest.h"

#include "XModuleCount.h"

namespace {
class Kinds : public ObjectTest {};

TEST_F(Kinds, AttributeTypesAreAddedAndRemovedOnTheServerAlone) {
    const auto attribute = Of<ILXAttribute>("attribute");
    const auto listed = [&] {
        XLXComPtr<ILXAttributeTypeEnum> types;
        attribute->GetAttributeTypeEnum(types.Put());
        return LXReadAll<ILXAttributeType>(types, XProperty::AttributeTypeName);
    };
    const std::vector<std::string> cached = {"Big", "Small"};
    XLXComPtr<ILXAttributeType> added;
    LONG removed = 0;
    ASSERT_EQ(attribute->AddAttributeType(added.Put()), S_OK);
    EXPECT_EQ(CallsOf("ILXAttribute::AddAttributeType"), 1u);
    EXPECT_EQ(listed(), cached);
    EXPECT_EQ(attribute->RemoveAttributeType(added.Get(), &removed), S_OK);
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(attribute->RemoveAttributeType(added.Get(), &removed), E_INVALIDARG); // the server's answer
}

TEST_F(Kinds, ATypesFaceForItsManagerLinksItsBase) {
    const auto face = Of<ILXTypeCache>("type");
    XLXComPtr<ILXType> server;
    ASSERT_EQ(face->GetServerType(server.Put()), S_OK);
    EXPECT_NE(server, Of<ILXType>("type"));
    EXPECT_EQ(LXRead(server.Get(), XProperty::TypeName), OLESTR("Area"));
    constexpr int baseMember = 27;
    XLXComVariant base;
    ASSERT_EQ(Of<ILXType>("type")->GetProperty(baseMember, base.Put()), S_OK);
    const auto baseFace = XLXComPtr<IUnknown>(V_UNKNOWN(&base.Get())).As<ILXTypeCache>();
    EXPECT_EQ(baseFace->SetBaseType(face.Get()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("the base type derives from this type"));
    EXPECT_EQ(face->SetBaseType(nullptr), S_OK);
    EXPECT_EQ(baseFace->SetBaseType(face.Get()), S_OK); // the way round is free now
}

TEST_F(Kinds, AManagerForwardsAndKeepsWhatItIsTold) {
    XLXComBSTR version;
    XLXComBSTR expected;
    const auto factory = Of<ILXConfigFactory>("manager");
    EXPECT_EQ(factory->GetVersion(version.Put()), S_OK);
    m_world.Server().ConfigFactory()->GetVersion(expected.Put());
    EXPECT_EQ(version.View(), expected.View());
    XLXComPtr<ILXGlobalAttributeFormatSpec> spec;
    EXPECT_EQ(factory->CreateGlobalAttributeFormatSpec(spec.Put()), S_OK);
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
    EXPECT_EQ(callback->SetCallbackId(registered), S_OK); // the last one is what it signs off with
    EXPECT_EQ(Of<IDPFObject>("manager")->Terminate(), S_OK);
    EXPECT_TRUE(m_world.Server().Clients().empty());
}

TEST_F(Kinds, AManagerKeepsTheHostsTwoObjectsAndNoOther) {
    const auto manager = Of<IDPFObject>("manager");
    const auto entry = Of<ILXServerEntryPoint>("manager");
    const auto objects = [this] { return m_world.Server().LiveObjects().objects; };
    const auto before = objects();
    EXPECT_EQ(manager->NotifyHostObject(m_world.Server().DataObject("A").Get()), S_OK);
    EXPECT_EQ(manager->NotifyHostObjectPair(m_world.Server().DataObject("A").Get(), nullptr), S_OK);
    EXPECT_EQ(manager->NotifyHostObjectLong(m_world.Server().DataObject("A").Get(), 1), S_OK);
    EXPECT_EQ(entry->SetEntryObject(m_world.Server().DataObject("A").Get()), S_OK);
    EXPECT_EQ(entry->ReleaseEntry(), S_OK);
    EXPECT_EQ(objects(), before);
    EXPECT_EQ(
        manager->AttachHostObjects(m_world.Server().DataObject("A").Get(), m_world.Server().DataObject("B").Get()),
        S_OK);
    EXPECT_EQ(objects(), before + 2);
    EXPECT_EQ(manager->AttachHostObjects(nullptr, nullptr), S_OK);
    EXPECT_EQ(objects(), before);
    LONG flags[2] = {7, 7};
    EXPECT_EQ(entry->GetEntryFlags(&flags[0], &flags[1]), S_OK);
    EXPECT_EQ(flags[0], 0);
    EXPECT_EQ(flags[1], 1);
}

} // namespace

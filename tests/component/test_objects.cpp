// SPDX-License-Identifier: MIT
//
// Cached objects: their property store, formats and attribute types.
#include "cachefixture.h"

class Objects : public CacheTest {
protected:
    void SetUp() override { ASSERT_EQ(Start(), S_OK); }

    XLXComPtr<ILXFormat> Format(int type, HRESULT expected = S_OK) {
        XLXComPtr<ILXFormat> format;
        EXPECT_EQ(Attribute("Pump", "Head")->GetFormat(type, format.Put()), expected);
        return format;
    }
};

TEST_F(Objects, AskOnceAndThenAnswerFromTheStore) {
    const auto format = Format(1);
    XLXComVariant none;
    EXPECT_EQ(Format(2)->GetProperty(60, none.Put()), E_INVALIDARG) << "before anything was read";
    LXErrorInformation::Take();
    ExpectCalls(1, [&] { EXPECT_NE(LXRead(format.Get(), 0), OLESTR("<empty>")); });
    ExpectCalls(0, [&] { LXRead(format.Get(), 0); });
    XLXComVariant untouched = XLXComVariant::FromI4(5);
    ExpectCalls(1, [&] { EXPECT_EQ(format->GetProperty(59, &untouched.Get()), S_FALSE); }); // empty values are fetched
    EXPECT_EQ(untouched.AsLong(), 5);
}

TEST_F(Objects, RefuseUnknownProperties) {
    const auto page = Type("Item");
    XLXComVariant value;
    EXPECT_EQ(page->GetProperty(1000, value.Put()), E_INVALIDARG);
    const auto error = LXErrorInformation::Take();
    EXPECT_EQ(error.description, OLESTR("property index (1000) is out of range"));
    EXPECT_EQ(error.source, OLESTR("ROAssociations::Get (associations, line 110)"));
    EXPECT_EQ(page->GetProperty(-1, value.Put()), E_INVALIDARG);
    EXPECT_EQ(page->SetProperty(1000, value.Get()), E_INVALIDARG);
    EXPECT_EQ(LXCall(*page, &ILXType::Get, "no such name", value.Put()), E_INVALIDARG);
    EXPECT_FALSE(page.As<ILXCallback>());
    EXPECT_FALSE(page.As<ISupportErrorInfo>());
}

TEST_F(Objects, WrittenValuesLastUntilTheServersAreReadAgain) {
    const auto head = Attribute("Pump", "Head");
    const XLXComVariant mine = XLXComVariant::FromBstr(OLESTR("Mine"));
    EXPECT_EQ(head->SetProperty(XProperty::Label, mine.Get()), S_OK);
    EXPECT_EQ(LXRead(head.Get(), XProperty::Label), OLESTR("Mine"));
    Edit().SetAttributeProperty("Pump", "Head", XProperty::Unit, "m");
    EXPECT_NE(LXRead(head.Get(), XProperty::Label), OLESTR("Mine"));
    EXPECT_EQ(LXRead(head.Get(), XProperty::Unit), OLESTR("m"));
}

TEST_F(Objects, FailedReadsAreReturnedAndRetried) {
    const auto format = Format(1);
    Calls().FailCall("", E_ACCESSDENIED);
    EXPECT_EQ(LXRead(format.Get(), 0), OLESTR("<0x80070005>"));
    Calls().FailCall("", S_OK);
    EXPECT_EQ(LXRead(format.Get(), 0), OLESTR("<0x80004003>"));
    EXPECT_EQ(LXRead(format.Get(), 0).find(OLESTR("<0x")), XLXText::npos);
}

TEST_F(Objects, FailedFormatsAreReturnedAndRetried) {
    Calls().FailCall("ILXAttribute::GetFormat", E_ACCESSDENIED);
    EXPECT_FALSE(Format(2, E_ACCESSDENIED));
    EXPECT_TRUE(Format(2));
    Calls().FailCall("ILXAttribute::CreateFormat", E_ACCESSDENIED);
    EXPECT_EQ(LXResult(Attribute("Pump", "Head"), &ILXAttribute::CreateFormat, 6), E_ACCESSDENIED);
}

TEST_F(Objects, NullPointersForFormatsAreRefusedAtTheOwnersLocation) {
    ExpectNullRefused(Attribute("Pump", "Head")->GetFormat(1, nullptr),
                      OLESTR("XLXAttributeCache::GetFormat (lxattributecache, line 552)"));
    ExpectNullRefused(Group("Item", 1)->GetFormat(nullptr),
                      OLESTR("XLXGroupCache::CreateFormat (lxgroupcache, line 359)"));
}

TEST_F(Objects, AttributeTypesComeWithTheirAttributeOrInBatches) {
    const auto head = Attribute("Pump", "Head");
    const auto types = [&] { return LXList(XProperty::AttributeTypeName, head, &ILXAttribute::GetAttributeTypeEnum); };
    ExpectCalls(0, [&] { EXPECT_EQ(types(), (Names{"Feet", "Metres"})); });
    for (int i = 0; i < 120; ++i) {
        Edit().AddAttributeType("Pump", "Head", "T" + std::to_string(1000 + i), XNotify::No);
    }
    m_server->SendNotification("objects/x/0/1024"); // only the attribute types
    const XCallCounts before = Calls().Counts();
    EXPECT_EQ(types().size(), 122u);
    EXPECT_EQ(Calls().Counts().Since(before).Of("ILXAttributeTypeEnum::RemNext"), 2u);
    EXPECT_EQ(Attribute("Item", "Weight")->GetAttributeTypeEnum(nullptr), E_POINTER);
    EXPECT_FALSE(LXErrorInformation::Take().present);
}

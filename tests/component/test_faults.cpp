// SPDX-License-Identifier: MIT
//
// A whole life of a client, run over and over with one more call to the server going wrong each time, until a
// run passes untouched. After each: right answers or failures, nothing left alive, and a clean second life.
#include "cachefixture.h"

class Faults : public CacheTest, public testing::WithParamInterface<HRESULT>
{
protected:
    /// Asks for everything once; whatever is answered with success is looked at.
    void LiveOnce()
    {
        if (SUCCEEDED(Start(1)))
        {
            for (const char* name : {"Pump", "Item", "Unknown"})
            {
                XLXComPtr<ILXType> type;
                if (m_cache->GetCachedType(m_server->DataObject(name).Get(), nullptr, type.Put()) == S_OK)
                {
                    EXPECT_EQ(LXRead(type.Get(), XProperty::TypeName), XLXText(XLXFormat() << name));
                    AskType(type.Get());
                }
            }
            Edit().AddAttribute("Item", "Colour" + std::to_string(m_lives), 1);
            Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift");
            XLXComPtr<ILXTypeEnum> types;
            Factory()->GetSearchableTypeEnum(types.Put());
            XLXComPtr<ILXType> pump;
            if (Factory()->GetType(XLXComBSTR(OLESTR("Pump")).Get(), nullptr, pump.Put()) == S_OK)
            {
                AskType(pump.Get());
            }
        }
        Terminate();
        m_cache.Reset();
        ++m_lives;
    }

    void AskType(ILXType* type)
    {
        XLXComPtr<ILXPageEnum> pages;
        XLXComPtr<ILXConfObjEditor> editor;
        XLXComPtr<ILXAttributeEnum> shown;
        XLXComPtr<ILXGroup> group;
        XLXComPtr<ILXAttribute> attribute;
        type->GetPageEnum(pages.Put());
        type->GetDefaultEditor(XLXComBSTR(OLESTR("tree")).Get(), editor.Put());
        type->GetDisplayAttributeEnum(1, shown.Put());
        if (type->GetGroup(7, group.Put()) == S_OK)
        {
            XLXComPtr<ILXFormat> format;
            XLXComPtr<ILXGroupEnum> groups;
            group->GetFormat(format.Put());
            group->GetChildGroupEnum(groups.Put());
        }
        if (type->GetAttribute(XLXComBSTR(OLESTR("Head")).Get(), attribute.Put()) == S_OK)
        {
            XLXComPtr<ILXFormat> format;
            XLXComPtr<ILXAttributeTypeEnum> types;
            const XLXText name = LXRead(attribute.Get(), XProperty::AttributeName);
            EXPECT_TRUE(name == OLESTR("Head") || name.front() == '<') << LXNarrow(name);
            if (attribute->GetFormat(1, format.Put()) == S_OK)
            {
                LXRead(format.Get(), 0);
            }
            attribute->CreateFormat(5, format.Put());
            attribute->DeleteFormat(5);
            attribute->GetAttributeTypeEnum(types.Put());
        }
    }

    int m_lives = 0;
};

TEST_P(Faults, OneMoreCallGoesWrongEachTime)
{
    constexpr unsigned long long mostCalls = 500;
    unsigned long long n = 1;
    for (; n < mostCalls; ++n)
    {
        SCOPED_TRACE("call " + std::to_string(n));
        Calls().FailCall("", GetParam(), n);
        const auto before = Calls().Total();
        LiveOnce();
        Calls().StopFailing();
        if (Calls().Total() - before < n)
        {
            break; // nothing was left to fail
        }
    }
    EXPECT_GT(n, 20u);
    EXPECT_LT(n, mostCalls);
    ASSERT_EQ(Start(), S_OK);
    EXPECT_EQ(LXRead(Attribute("Pump", "Head").Get(), XProperty::Label), OLESTR("Lift"));
    Terminate();
}

INSTANTIATE_TEST_SUITE_P(Result, Faults, testing::Values(E_FAIL, S_FALSE, S_OK), [](const auto& test) {
    return test.param == E_FAIL ? "Failure" : test.param == S_FALSE ? "Nothing" : "SuccessWithoutResult";
});

// SPDX-License-Identifier: MIT
//
// Queries for the inheritance between types.
#include "relationfixture.h"

class Derivation : public RelationTest {
protected:
    Names Types(HRESULT (STDMETHODCALLTYPE Cache::*question)(BSTR, LONG*, BSTR**), const char* type) {
        LONG count = -1;
        BSTR* texts = nullptr;
        const HRESULT result = LXCall(*m_cache, question, type, &count, &texts);
        EXPECT_EQ(result, count > 0 ? S_OK : S_FALSE);
        EXPECT_EQ(texts != nullptr, count > 0);
        return LXTake(count, texts);
    }
    Names Derived(const char* type) { return Types(&Cache::GetAllDerivedTypes, type); }
    Names ForQuery(const char* type) { return Types(&Cache::GetDerivedTypesForQuery, type); }

    /// One digit per name: whether the type derives from it. In brackets when the call returns S_FALSE.
    std::string Check(const char* type, const std::vector<const char*>& names) {
        std::vector<XBstrArgument> texts;
        std::transform(names.begin(), names.end(), std::back_inserter(texts), LXArgument<const char*>);
        std::vector<BSTR> raw(texts.begin(), texts.end());
        std::vector<LONG> answers(names.size(), 9);
        const HRESULT result = LXCall(*m_cache, &Cache::CheckTypeDerivesFrom, type, static_cast<LONG>(raw.size()),
                                      raw.data(), answers.data());
        std::string digits;
        for (const LONG answer : answers) {
            digits += std::to_string(answer);
        }
        return result == S_OK ? digits : "[" + digits + "]";
    }
};

TEST_F(Derivation, FollowsChainsOfBases) {
    ExpectCalls(0, [&] {
        EXPECT_EQ(Check("Room", {"Room", "Area", "Node", "Desk", "Nothing", ""}), "111000");
        EXPECT_EQ(Check("Node", {"Room", "Node"}), "01");
        EXPECT_EQ(Check("Nothing", {"Node", "Nothing"}), "[00]");
        EXPECT_EQ(Check("Node", {}), "[]");
        EXPECT_EQ(Derived("Node"), (Names{"Area", "Room"}));
        EXPECT_EQ(Derived("Room"), Names());
        EXPECT_EQ(Derived("Nothing"), Names());
        EXPECT_EQ(ForQuery("Node"), (Names{"Node", "Area", "Room"}));
        EXPECT_EQ(ForQuery("Room"), Names{"Room"});
        EXPECT_EQ(ForQuery("Nothing"), Names());
    });
    LONG count = 0;
    EXPECT_EQ(LXCall(*m_cache, &Cache::CheckTypeDerivesFrom, "Node", 1, nullptr, &count), E_POINTER);
    EXPECT_EQ(LXCall(*m_cache, &Cache::CheckTypeDerivesFrom, "Node", -1, nullptr, &count), E_INVALIDARG);
    EXPECT_EQ(LXCall(*m_cache, &Cache::GetAllDerivedTypes, "Node", &count, nullptr), E_POINTER);
}

// That it follows changes of types: tests/reliability/test_freshload.cpp.
TEST_F(Derivation, AFailedReloadOfTheTypesIsReturned) {
    Calls().FailCall("ILXConfigFactoryEx::GetTypeArrayEx", E_ACCESSDENIED);
    m_server->SendNotification("objects/x/0/2");
    LONG count = 5;
    BSTR* texts = nullptr;
    EXPECT_EQ(LXCall(*m_cache, &Cache::GetAllDerivedTypes, "Node", &count, &texts), E_ACCESSDENIED);
    EXPECT_EQ(count, 0);
}

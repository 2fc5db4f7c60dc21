// SPDX-License-Identifier: MIT
//
// Registration, through the real module file. These tests use the component's real keys and remove them.
#include "XRegistryScript.h"
#include "modulefile.h"
#include "registrytree.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {
const std::string Versioned = "LXConfigFactoryCache.LXConfigFactoryCache.1";
const std::string Independent = "LXConfigFactoryCache.LXConfigFactoryCache";
const std::string ClassId = "{C82DB2BE-0F06-4ad5-AF6F-6DADD1EAAF2E}";
const std::string ClassKey = "CLSID\\" + ClassId;
const std::string LibraryKey = "TypeLib\\{3B700219-CA40-4C9A-B2E6-85B56601D125}";
const std::string Title = "LXConfigFactoryCache Class";

std::vector<std::string> Expected() {
    const std::pair<std::string, std::string> keys[] = {
        {Versioned, Title},
        {Versioned + "\\CLSID", ClassId},
        {Independent, Title},
        {Independent + "\\CurVer", Versioned},
        {Independent + "\\CLSID", ClassId},
        {ClassKey, Title},
        {ClassKey + "\\ProgID", Versioned},
        {ClassKey + "\\VersionIndependentProgID", Independent},
        {ClassKey + "\\InprocServer32", LXNarrow(ModulePath())},
    };
    std::vector<std::string> lines{ClassKey + "\\InprocServer32|ThreadingModel=Both"};
    for (const auto& [key, text] : keys) {
        lines.insert(lines.end(), {key, key + "|=" + text});
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> Actual() {
    std::vector<std::string> lines;
    for (const std::string& key : {Versioned, Independent, ClassKey}) {
        const auto tree = RegistryTree(key);
        lines.insert(lines.end(), tree.begin(), tree.end());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// The number of keys where registration adds some, and where it must not.
std::vector<std::size_t> Counts() {
    return {RegistrySubkeys(""), RegistrySubkeys("CLSID"), RegistrySubkeys("TypeLib"), RegistrySubkeys("Interface")};
}

class Registration : public testing::Test {
protected:
    void SetUp() override {
        RegistryCreate("CLSID");
        UnregisterModule();
        ASSERT_TRUE(Actual().empty());
    }
    void TearDown() override {
        UnregisterModule();
        RegistryDelete(Independent);
        EXPECT_FALSE(RegistryTree("CLSID").empty());
    }
};

TEST_F(Registration, WritesExactlyItsKeysAndRemovesExactlyThem) {
    const auto before = Counts();
    ASSERT_EQ(RegisterModule(), S_OK);
    EXPECT_EQ(Actual(), Expected());
    const auto during = Counts();
    EXPECT_EQ(during[0], before[0] + 2);
    EXPECT_EQ(during[1], before[1] + 1);
    EXPECT_EQ(during[3], before[3]) << "no interface may get the marshaller of type libraries";
    ASSERT_EQ(UnregisterModule(), S_OK);
    EXPECT_EQ(Counts(), before);
    EXPECT_EQ(Actual(), std::vector<std::string>());
}

TEST_F(Registration, OwnsTheWholeClassKeyAndRemovesNoForeignKeysElsewhere) {
    RegistryCreate(ClassKey + "\\Stale\\Deeper");
    ASSERT_EQ(RegisterModule(), S_OK);
    ASSERT_EQ(RegisterModule(), S_OK);
    EXPECT_EQ(Actual(), Expected());
    RegistryCreate(ClassKey + "\\Added\\Later");
    RegistryCreate(Independent + "\\Foreign");
    ASSERT_EQ(UnregisterModule(), S_OK);
    EXPECT_EQ(Actual(), (std::vector<std::string>{Independent, Independent + "\\Foreign"}));
}

TEST(RegistryScript, ReportsThatKeysCannotBeReached) {
    constexpr HKEY none = nullptr;
    EXPECT_EQ(XRegistryScript::Register(none, OLESTR("path")), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
    EXPECT_EQ(XRegistryScript::Unregister(none), HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
}

#ifdef _WIN32
TEST_F(Registration, TypeLibraryIsRegisteredAndUnregistered) {
    ASSERT_EQ(RegisterModule(), S_OK);
    {
        XLXComPtr<ITypeLib> library;
        EXPECT_EQ(LoadRegTypeLib(LIBID_LXCONFIGFACTORYCACHELib, 1, 0, 1033, library.Put()), S_OK);
        const auto tree = RegistryTree(LibraryKey);
        const std::string place = LibraryKey + "\\1.0\\409\\win64|=" + LXNarrow(ModulePath());
        EXPECT_EQ(std::count(tree.begin(), tree.end(), place), 1);
    }
    ASSERT_EQ(UnregisterModule(), S_OK);
    EXPECT_TRUE(RegistryTree(LibraryKey).empty());
}

// A permanent key cannot be created below a volatile one, which makes the script fail half-way.
TEST_F(Registration, AFailureIsReturnedAndLeavesNoKeys) {
    RegistryCreate(Independent, REG_OPTION_VOLATILE);
    const ModuleFile file;
    EXPECT_EQ(file.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_EQ(Actual(), std::vector<std::string>());
    EXPECT_TRUE(RegistryTree(LibraryKey).empty());
}
#endif
} // namespace

// SPDX-License-Identifier: MIT
//
// The resources of the module file.
#include "XLXComBSTR.h"
#include "modulefile.h"
#include "registrytree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <winver.h>

namespace {
using Members = std::vector<std::pair<std::string, LONG>>;

std::string NameOf(ITypeInfo& info, MEMBERID member) {
    XLXComBSTR name;
    info.GetDocumentation(member, name.Put(), nullptr, nullptr, nullptr);
    return Narrow(name.View());
}

/// The type library, loaded from the module file without registration.
class TypeLibrary : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, m_library.Put()), S_OK); }

    /// Members of an enumeration with their values, or of a record with their offsets.
    Members MembersOf(const std::string& name, TYPEKIND kind, ULONG* size = nullptr) {
        XLXText wide = Wide(name);
        XLXComPtr<ITypeInfo> info;
        MEMBERID member = 0;
        USHORT found = 1;
        EXPECT_EQ(m_library->FindName(wide.data(), 0, info.Put(), &member, &found), S_OK);
        Members members;
        TYPEATTR* attributes = nullptr;
        if (!info || FAILED(info->GetTypeAttr(&attributes))) {
            ADD_FAILURE() << name << " is not in the type library";
            return members;
        }
        EXPECT_EQ(attributes->typekind, kind);
        for (UINT i = 0; i < attributes->cVars; ++i) {
            VARDESC* variable = nullptr;
            info->GetVarDesc(i, &variable);
            const LONG number = kind == TKIND_ENUM ? V_I4(variable->lpvarValue) : static_cast<LONG>(variable->oInst);
            members.emplace_back(NameOf(*info.Get(), variable->memid), number);
            info->ReleaseVarDesc(variable);
        }
        if (size != nullptr) { *size = attributes->cbSizeInstance; }
        info->ReleaseTypeAttr(attributes);
        return members;
    }

    XLXComPtr<ITypeLib> m_library;
};

TEST_F(TypeLibrary, HasItsIdentity) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(m_library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, LIBID_LXCONFIGFACTORYCACHELib);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(attributes->lcid, 1033u);
    m_library->ReleaseTLibAttr(attributes);
    XLXComBSTR name;
    ASSERT_EQ(m_library->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(Narrow(name.View()), "LXCONFIGFACTORYCACHELib");
}

TEST_F(TypeLibrary, HasTheClassWithItsDefaultInterface) {
    XLXComPtr<ITypeInfo> info;
    ASSERT_EQ(m_library->GetTypeInfoOfGuid(CLSID_LXConfigFactoryCache, info.Put()), S_OK);
    XLXComBSTR name;
    XLXComBSTR help;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, name.Put(), help.Put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(Narrow(name.View()), "LXConfigFactoryCache");
    EXPECT_EQ(Narrow(help.View()), "LXConfigFactoryCache Class");

    INT flags = 0;
    HREFTYPE reference = 0;
    XLXComPtr<ITypeInfo> face;
    ASSERT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags & IMPLTYPEFLAG_FDEFAULT, IMPLTYPEFLAG_FDEFAULT);
    ASSERT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
    ASSERT_EQ(info->GetRefTypeInfo(reference, face.Put()), S_OK);
    EXPECT_EQ(NameOf(*face.Get(), MEMBERID_NIL), "ILXConfigFactoryCache");
}

TEST_F(TypeLibrary, HasTheEnumerationsInFull) {
    EXPECT_EQ(MembersOf("LXDeleteOptions", TKIND_ENUM), (Members{{"LXDO_DELETE_NONE", 0},
                                                                 {"LXDO_DELETE_FLAT", 1},
                                                                 {"LXDO_DELETE_DEEP", 2},
                                                                 {"LXDO_DELETE_ALL", 4},
                                                                 {"LXDO_DELETE_NO_MCM_HANDLING", 8}}));
    EXPECT_EQ(MembersOf("LXRightType", TKIND_ENUM), (Members{{"LXRT_specified", 0},
                                                             {"LXRT_noaccess", 1},
                                                             {"LXRT_read", 2},
                                                             {"LXRT_execute", 4},
                                                             {"LXRT_change", 8},
                                                             {"LXRT_create", 16},
                                                             {"LXRT_erase", 32},
                                                             {"LXRT_take_ownership", 64},
                                                             {"LXRT_change_rights", 128},
                                                             {"LXRT_add_child", 256},
                                                             {"LXRT_remove_child", 512}}));
    EXPECT_EQ(MembersOf("tagSEARCHMODE", TKIND_ENUM), (Members{{"SM_Normal", 0}, {"SM_CompareSubQueries", 1}}));
}

TEST_F(TypeLibrary, HasTheRecordsAsTheyLieInMemory) {
    const std::map<std::string, std::pair<ULONG, Members>> records{
        {"tagLXNotifications", {24, {{"bstrObjectId", 0}, {"bstrObjectType", 8}, {"ulNotificationsDesired", 16}}}},
        {"tagLXUpdateInfo", {16, {{"bstrObjectId", 0}, {"bstrObjectType", 8}}}},
        {"tagLXDataUpdateChanges",
         {40,
          {{"bstrObjectId", 0},
           {"bstrObjectType", 8},
           {"ulNotificationId", 16},
           {"ulChangeType", 20},
           {"ulCount", 24},
           {"pUpdateInfo", 32}}}},
        {"tagLXClientInfo",
         {56,
          {{"ulProcessID", 0},
           {"ulLanguageID", 4},
           {"bSuperUserTask", 8},
           {"bstrTransactionName", 16},
           {"bstrComputerName", 24},
           {"bstrUserName", 32},
           {"bstrPWD", 40},
           {"pInterface", 48}}}},
    };
    for (const auto& [name, record] : records) {
        ULONG size = 0;
        EXPECT_EQ(MembersOf(name, TKIND_RECORD, &size), record.second) << name;
        EXPECT_EQ(size, record.first) << name;
    }
}

TEST(Resources, AreInTheModule) {
    const ModuleFile file;
    HMODULE const module = file.Handle();
    EXPECT_NE(FindResourceW(module, MAKEINTRESOURCEW(102), OLESTR("REGISTRY")), nullptr);
    EXPECT_NE(FindResourceW(module, MAKEINTRESOURCEW(1), OLESTR("TYPELIB")), nullptr);
    OLECHAR text[64] = {};
    const int length = LoadStringW(module, 100, text, static_cast<int>(std::size(text)));
    EXPECT_EQ(Narrow(XLXTextView(text, static_cast<size_t>(length))), "lxconfigfactorycache");
}

TEST(Resources, VersionIsTheProjects) {
    const XLXText path = ModulePath();
    std::vector<std::byte> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), OLESTR("\\"), &value, &length));
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(std::to_string(HIWORD(fixed.dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed.dwFileVersionMS)) +
                  "." + std::to_string(HIWORD(fixed.dwFileVersionLS)),
              LX_PROJECT_VERSION);
    for (const OLECHAR* const name : {OLESTR("FileVersion"), OLESTR("FileDescription")}) {
        const XLXText key = XLXText(OLESTR("\\StringFileInfo\\040904B0\\")) + name;
        ASSERT_TRUE(VerQueryValueW(block.data(), key.c_str(), &value, &length)) << Narrow(name);
        EXPECT_GT(length, 1u) << Narrow(name);
    }
}

TEST(Resources, ExportsAreTheFourAndNoMore) {
    const ModuleFile file;
    const auto* const base = reinterpret_cast<const BYTE*>(file.Handle());
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const DWORD place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
    const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place);
    const auto* const names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    std::vector<std::string> found;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        found.emplace_back(reinterpret_cast<const char*>(base + names[i]));
    }
    EXPECT_EQ(found, (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                               "DllUnregisterServer"}));
    // No export lacks a name. A linker may begin to count at 0, without a function there.
    const auto* const functions = reinterpret_cast<const DWORD*>(base + exports->AddressOfFunctions);
    EXPECT_EQ(std::count_if(functions, functions + exports->NumberOfFunctions, [](DWORD at) { return at != 0; }), 4);
}
} // namespace

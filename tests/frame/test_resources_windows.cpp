// SPDX-License-Identifier: MIT
//
// The version and the exports of the module file.
#include "modulefile.h"
#include "registrytree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <winver.h>

namespace {
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
    // Nor one without a name. A linker may begin to count at 0, where no function stands.
    const auto* const functions = reinterpret_cast<const DWORD*>(base + exports->AddressOfFunctions);
    EXPECT_EQ(std::count_if(functions, functions + exports->NumberOfFunctions, [](DWORD at) { return at != 0; }), 4);
}
} // namespace

// SPDX-License-Identifier: MIT
//
// The version of the module file.
#include "modulefile.h"
#include "registrytree.h"

#include <gtest/gtest.h>

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
        ASSERT_TRUE(VerQueryValueW(block.data(), key.c_str(), &value, &length)) << LXNarrow(name);
        EXPECT_GT(length, 1u) << LXNarrow(name);
    }
}
} // namespace

// SPDX-License-Identifier: MIT
//
// The registry: keys, values, names, and deleting.
#include "contract.h"

#include <vector>

namespace {
const OLECHAR* const g_root = OLESTR("Software\\PlatformContract");

HKEY Create(HKEY parent, const OLECHAR* path, DWORD expected) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                             &key, &disposition));
    EXPECT_EQ(expected, disposition);
    return key;
}

LSTATUS Set(HKEY key, const OLECHAR* name, const Text& text) {
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(OLECHAR)));
}

class Registry : public testing::Test {
protected:
    void SetUp() override {
        RegDeleteTreeW(HKEY_CURRENT_USER, g_root);
        m_key = Create(HKEY_CURRENT_USER, g_root, REG_CREATED_NEW_KEY);
    }
    void TearDown() override {
        EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(m_key));
        EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, g_root));
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_CURRENT_USER, g_root, 0, KEY_READ, &key));
    }

    HKEY m_key = nullptr;
};
} // namespace

TEST_F(Registry, Values) {
    EXPECT_EQ(ERROR_SUCCESS, Set(m_key, nullptr, OLESTR("default")));
    EXPECT_EQ(ERROR_SUCCESS, Set(m_key, OLESTR("Name"), OLESTR("old")));
    EXPECT_EQ(ERROR_SUCCESS, Set(m_key, OLESTR("NAME"), OLESTR("xyz")));
    OLECHAR text[8] = {};
    DWORD size = sizeof(text);
    DWORD type = 0;
    BYTE* const bytes = reinterpret_cast<BYTE*>(text);
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_key, OLESTR("name"), nullptr, &type, bytes, &size));
    EXPECT_EQ(Text(OLESTR("xyz")), text);
    EXPECT_EQ(8u, size);
    EXPECT_EQ(DWORD{REG_SZ}, type);
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(m_key, OLESTR(""), nullptr, nullptr, bytes, &size));
    EXPECT_EQ(16u, size);
    size = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_key, nullptr, nullptr, nullptr, nullptr, &size));
    EXPECT_EQ(16u, size);
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_key, OLESTR("NaMe")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(m_key, OLESTR("Name")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(m_key, OLESTR("Name"), nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Registry, KeysInOrder) {
    for (const OLECHAR* const name : {OLESTR("b"), OLESTR("A"), OLESTR("c\\deep")}) {
        RegCloseKey(Create(m_key, name, REG_CREATED_NEW_KEY));
    }
    RegCloseKey(Create(m_key, OLESTR("C\\DEEP"), REG_OPENED_EXISTING_KEY));
    std::vector<Text> names;
    OLECHAR name[20];
    DWORD length = 20;
    while (RegEnumKeyExW(m_key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS) {
        names.emplace_back(name, length);
        length = 20;
    }
    EXPECT_EQ((std::vector<Text>{OLESTR("A"), OLESTR("b"), OLESTR("c")}), names);
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumKeyExW(m_key, 3, name, &length, nullptr, nullptr, nullptr, nullptr));
    length = 1;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExW(m_key, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Registry, Deleting) {
    const HKEY inner = Create(m_key, OLESTR("a\\b"), REG_CREATED_NEW_KEY);
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(m_key, OLESTR("A"))) << "has a key in it";
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_key, OLESTR("A\\B")));
    EXPECT_EQ(ERROR_KEY_DELETED, Set(inner, nullptr, OLESTR("late")));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(inner));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyW(m_key, OLESTR("a\\b")));
    RegCloseKey(Create(m_key, OLESTR("a\\c\\d"), REG_CREATED_NEW_KEY));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeW(m_key, OLESTR("a")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteTreeW(m_key, OLESTR("a")));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(nullptr));
}

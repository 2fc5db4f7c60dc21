// SPDX-License-Identifier: MIT
#include "registrytree.h"

#include <algorithm>

namespace {
constexpr DWORD LongestText = 1024;

HKEY Open(const std::string& path) {
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, KEY_READ, &key);
    return key;
}

/// All names that a platform function enumerates; its arguments after the name are optional.
template <class Enumerate> std::vector<XLXText> Names(HKEY key, Enumerate enumerate) {
    std::vector<XLXText> names;
    OLECHAR name[LongestText] = {};
    for (DWORD length = LongestText; enumerate(key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr,
                                               nullptr, nullptr) == ERROR_SUCCESS;
         length = LongestText) {
        names.emplace_back(name, length);
    }
    return names;
}

std::vector<XLXText> ValueNames([[maybe_unused]] HKEY key) {
#ifdef _WIN32
    return Names(key, RegEnumValueW);
#else
    return {XLXText(), OLESTR("ThreadingModel")}; // this platform cannot list values: these are those of the script
#endif
}

void Add(const std::string& path, std::vector<std::string>& lines) {
    HKEY const key = Open(path);
    if (key == nullptr) { return; }
    lines.push_back(path);
    for (const XLXText& name : ValueNames(key)) {
        OLECHAR text[LongestText] = {};
        DWORD bytes = sizeof(text);
        DWORD type = 0;
        if (RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes) ==
            ERROR_SUCCESS) {
            lines.push_back(path + "|" + LXNarrow(name) + "=" +
                            (type == REG_SZ ? LXNarrow(XLXTextView(text, bytes / sizeof(OLECHAR) - 1))
                                            : "type " + std::to_string(type)));
        }
    }
    for (const XLXText& name : Names(key, RegEnumKeyExW)) {
        Add(path + "\\" + LXNarrow(name), lines);
    }
    RegCloseKey(key);
}
} // namespace

std::vector<std::string> RegistryTree(const std::string& path) {
    std::vector<std::string> lines;
    Add(path, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::size_t RegistrySubkeys(const std::string& path) {
    HKEY const key = Open(path);
    const std::size_t count = Names(key, RegEnumKeyExW).size();
    RegCloseKey(key);
    return count;
}

void RegistryCreate(const std::string& path, DWORD options) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, nullptr, options, KEY_READ | KEY_WRITE, nullptr, &key,
                    nullptr);
    RegCloseKey(key);
}

void RegistryDelete(const std::string& path) { RegDeleteTreeW(HKEY_CLASSES_ROOT, Wide(path).c_str()); }

XLXText Wide(const std::string& ascii) { return XLXText(ascii.begin(), ascii.end()); }

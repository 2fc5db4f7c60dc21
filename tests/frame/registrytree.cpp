// SPDX-License-Identifier: MIT
#include "registrytree.h"

#include <algorithm>

namespace {
struct OpenKey {
    explicit OpenKey(const std::string& path) {
        RegOpenKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, KEY_READ, &key);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    ~OpenKey() {
        if (key != nullptr) { RegCloseKey(key); }
    }

    HKEY key = nullptr;
};

constexpr DWORD LongestText = 1024;

/// The names of a key's values.
std::vector<XLXText> ValueNames(const OpenKey& open) {
#ifdef _WIN32
    std::vector<XLXText> names;
    OLECHAR name[LongestText] = {};
    DWORD length = LongestText;
    while (RegEnumValueW(open.key, static_cast<DWORD>(names.size()), name, &length, nullptr, nullptr, nullptr,
                         nullptr) == ERROR_SUCCESS) {
        names.emplace_back(name, length);
        length = LongestText;
    }
    return names;
#else
    (void)open; // this platform cannot list values: these are those of the script
    return {XLXText(), OLESTR("ThreadingModel")};
#endif
}

void AddValues(const OpenKey& open, const std::string& path, std::vector<std::string>& lines) {
    for (const XLXText& name : ValueNames(open)) {
        OLECHAR text[LongestText] = {};
        DWORD bytes = sizeof(text);
        DWORD type = 0;
        if (RegQueryValueExW(open.key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes) ==
            ERROR_SUCCESS) {
            const bool isText = type == REG_SZ && bytes >= sizeof(OLECHAR);
            lines.push_back(
                path + "|" + Narrow(name) + "=" +
                (isText ? Narrow(XLXTextView(text, bytes / sizeof(OLECHAR) - 1)) : "type " + std::to_string(type)));
        }
    }
}

void Add(const std::string& path, std::vector<std::string>& lines) {
    const OpenKey open(path);
    if (open.key == nullptr) { return; }
    lines.push_back(path);
    AddValues(open, path, lines);
    for (DWORD i = 0;; ++i) {
        OLECHAR name[LongestText] = {};
        DWORD length = LongestText;
        if (RegEnumKeyExW(open.key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) { return; }
        Add(path + "\\" + Narrow(name), lines);
    }
}
} // namespace

std::vector<std::string> RegistryTree(const std::string& path) {
    std::vector<std::string> lines;
    Add(path, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

bool RegistryHas(const std::string& path) { return OpenKey(path).key != nullptr; }

unsigned RegistrySubkeys(const std::string& path) {
    const OpenKey open(path);
    OLECHAR name[LongestText] = {};
    DWORD length = LongestText;
    unsigned subkeys = 0;
    while (RegEnumKeyExW(open.key, subkeys, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        ++subkeys;
        length = LongestText;
    }
    return subkeys;
}

void RegistryCreate(const std::string& path, DWORD options) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, nullptr, options, KEY_READ | KEY_WRITE, nullptr, &key,
                    nullptr);
    RegCloseKey(key);
}

void RegistryDelete(const std::string& path) { RegDeleteTreeW(HKEY_CLASSES_ROOT, Wide(path).c_str()); }

XLXText Wide(const std::string& ascii) { return XLXText(ascii.begin(), ascii.end()); }

std::string Narrow(XLXTextView text) {
    std::string narrow;
    std::transform(text.begin(), text.end(), std::back_inserter(narrow),
                   [](OLECHAR c) { return c < 0x80 ? static_cast<char>(c) : '?'; });
    return narrow;
}

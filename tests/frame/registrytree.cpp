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

/// All names that a function enumerates.
template <class Enumerate> std::vector<XLXText> Names(Enumerate&& enumerate) {
    std::vector<XLXText> names;
    OLECHAR name[LongestText] = {};
    DWORD length = LongestText;
    while (enumerate(static_cast<DWORD>(names.size()), name, &length) == ERROR_SUCCESS) {
        names.emplace_back(name, length);
        length = LongestText;
    }
    return names;
}

std::vector<XLXText> ValueNames([[maybe_unused]] const OpenKey& open) {
#ifdef _WIN32
    return Names([&](DWORD i, OLECHAR* name, DWORD* length) {
        return RegEnumValueW(open.key, i, name, length, nullptr, nullptr, nullptr, nullptr);
    });
#else
    return {XLXText(), OLESTR("ThreadingModel")}; // this platform cannot list values: these are those of the script
#endif
}

std::vector<XLXText> SubkeyNames(const OpenKey& open) {
    return Names([&](DWORD i, OLECHAR* name, DWORD* length) {
        return RegEnumKeyExW(open.key, i, name, length, nullptr, nullptr, nullptr, nullptr);
    });
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
                path + "|" + LXNarrow(name) + "=" +
                (isText ? LXNarrow(XLXTextView(text, bytes / sizeof(OLECHAR) - 1)) : "type " + std::to_string(type)));
        }
    }
}

void Add(const std::string& path, std::vector<std::string>& lines) {
    const OpenKey open(path);
    if (open.key == nullptr) { return; }
    lines.push_back(path);
    AddValues(open, path, lines);
    for (const XLXText& name : SubkeyNames(open)) {
        Add(path + "\\" + LXNarrow(name), lines);
    }
}
} // namespace

std::vector<std::string> RegistryTree(const std::string& path) {
    std::vector<std::string> lines;
    Add(path, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::size_t RegistrySubkeys(const std::string& path) { return SubkeyNames(OpenKey(path)).size(); }

void RegistryCreate(const std::string& path, DWORD options) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, nullptr, options, KEY_READ | KEY_WRITE, nullptr, &key,
                    nullptr);
    RegCloseKey(key);
}

void RegistryDelete(const std::string& path) { RegDeleteTreeW(HKEY_CLASSES_ROOT, Wide(path).c_str()); }

XLXText Wide(const std::string& ascii) { return XLXText(ascii.begin(), ascii.end()); }

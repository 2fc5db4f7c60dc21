// SPDX-License-Identifier: MIT
#include "XRegistryScript.h"

#include <iterator>

namespace {
/// What Unregister does with a key.
enum class ERemoval {
    WhenEmpty, ///< removed when it has no subkeys
    Never,
    Whole ///< removed with all its subkeys, also by Register before it creates the key
};

/// A key, or another value of the preceding key.
struct Entry {
    const OLECHAR* key;
    const OLECHAR* name; ///< value name; empty for the default value
    const OLECHAR* text; ///< value text; null: no value
    ERemoval removal;
};

constexpr Entry Entries[] = {
#include "registryscript.inc"
};
constexpr XLXTextView ModuleVariable = OLESTR("%MODULE%");

/// An open key.
struct OpenKey {
    OpenKey() = default;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    ~OpenKey() {
        if (key != nullptr) { RegCloseKey(key); }
    }

    HKEY key = nullptr;
};

LSTATUS Missing(LSTATUS status) { return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status; }

LSTATUS Create(HKEY root, const Entry& entry, const XLXText& modulePath) {
    LSTATUS status = entry.removal == ERemoval::Whole ? Missing(RegDeleteTreeW(root, entry.key)) : ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) { return status; }
    OpenKey open;
    status = RegCreateKeyExW(root, entry.key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                             &open.key, nullptr);
    if (status != ERROR_SUCCESS || entry.text == nullptr) { return status; }
    const XLXText text = entry.text == ModuleVariable ? modulePath : entry.text;
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(OLECHAR));
    return RegSetValueExW(open.key, entry.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes);
}

bool HasSubkeys(HKEY key) {
    OLECHAR name[2]; // one character of room: longer names fail with another code than ERROR_NO_MORE_ITEMS
    DWORD length = static_cast<DWORD>(std::size(name));
    return RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_NO_MORE_ITEMS;
}

/// @param keep  called with the status of each step
template <class Keep> void Remove(HKEY root, const Entry& entry, Keep&& keep) {
    if (entry.removal == ERemoval::Whole) { return keep(RegDeleteTreeW(root, entry.key)); }
    bool isUsed = entry.removal == ERemoval::Never;
    {
        OpenKey open;
        const LSTATUS opened = RegOpenKeyExW(root, entry.key, 0, KEY_READ | KEY_WRITE, &open.key);
        if (opened != ERROR_SUCCESS) { return keep(opened); }
        if (entry.text != nullptr) { keep(RegDeleteValueW(open.key, entry.name)); }
        isUsed = isUsed || HasSubkeys(open.key);
    }
    if (!isUsed) { keep(RegDeleteKeyW(root, entry.key)); }
}
} // namespace

HRESULT XRegistryScript::Register(HKEY root, const XLXText& modulePath) {
    LSTATUS status = ERROR_SUCCESS;
    for (auto entry = std::begin(Entries); status == ERROR_SUCCESS && entry != std::end(Entries); ++entry) {
        status = Create(root, *entry, modulePath);
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

HRESULT XRegistryScript::Unregister(HKEY root) {
    LSTATUS first = ERROR_SUCCESS;
    for (auto entry = std::rbegin(Entries); entry != std::rend(Entries); ++entry) { // subkeys before their parents
        Remove(root, *entry, [&](LSTATUS status) { first = first == ERROR_SUCCESS ? Missing(status) : first; });
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(first));
}

// SPDX-License-Identifier: MIT
#include "XRegistryScript.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {
using Key = XRegistryScript::Key;
using Value = XRegistryScript::Value;

constexpr XLXTextView ModuleVariable = OLESTR("%MODULE%");
constexpr std::string_view WhiteSpace = " \t\r\n";

XLXText Widen(std::string_view ascii) { return XLXText(ascii.begin(), ascii.end()); }

class Parser {
public:
    explicit Parser(std::string_view text) : m_rest(text) { Advance(); }

    Key Parse() {
        Key root;
        Expect("HKCR");
        Expect("{");
        ParseBlock(root);
        if (!m_word.empty()) { Fail(); }
        return root;
    }

private:
    [[noreturn]] static void Fail() {
        XLXError::Raise(E_UNEXPECTED, OLESTR("the registration script cannot be read"),
                        LXHere("XRegistryScript", "XRegistryScript", "XRegistryScript"));
    }

    void ParseBlock(Key& parent) {
        while (m_word != "}") {
            if (Accept("val")) {
                const XLXText name = Take();
                parent.values.push_back({name, ParseText()});
            } else {
                parent.keys.push_back(ParseKey());
            }
        }
        Advance();
    }

    Key ParseKey() {
        Key key;
        key.forceRemove = Accept("ForceRemove");
        key.noRemove = Accept("NoRemove");
        key.name = Take();
        if (m_word == "=") { key.values.push_back({XLXText(), ParseText()}); }
        if (Accept("{")) { ParseBlock(key); }
        return key;
    }

    XLXText ParseText() {
        Expect("=");
        Expect("s");
        if (m_word.size() < 2 || m_word.front() != '\'') { Fail(); }
        m_word = m_word.substr(1, m_word.size() - 2);
        return Take();
    }

    XLXText Take() {
        XLXText taken = Widen(m_word);
        if (m_word == "{" || m_word == "}" || m_word == "=" || m_rest.empty()) { Fail(); }
        Advance();
        return taken;
    }

    bool Accept(std::string_view word) {
        const bool accepted = m_word == word;
        if (accepted) { Advance(); }
        return accepted;
    }

    void Expect(std::string_view word) {
        if (!Accept(word)) { Fail(); }
    }

    /// Reads the next word; it is empty at the end of the text.
    void Advance() {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(WhiteSpace), m_rest.size()));
        size_t length = m_rest.find_first_of(WhiteSpace);
        if (m_rest.starts_with('\'')) {
            length = m_rest.find('\'', 1) + 1;
            if (length == 0) { Fail(); }
        }
        m_word = m_rest.substr(0, length);
        m_rest.remove_prefix(m_word.size());
    }

    std::string_view m_rest;
    std::string_view m_word;
};

/// An open key.
class OpenKey {
public:
    OpenKey() = default;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    ~OpenKey() { Close(); }

    void Close() noexcept {
        if (HKEY const key = std::exchange(m_key, nullptr); key != nullptr) { RegCloseKey(key); }
    }
    HKEY Get() const noexcept { return m_key; }
    HKEY* Put() noexcept { return &m_key; }

private:
    HKEY m_key = nullptr;
};

LSTATUS WriteValue(HKEY key, const Value& value, XLXTextView modulePath) {
    XLXText text = value.text;
    if (const size_t at = text.find(ModuleVariable); at != XLXText::npos) {
        text.replace(at, ModuleVariable.size(), modulePath);
    }
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(OLECHAR));
    return RegSetValueExW(key, value.name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes);
}

LSTATUS Missing(LSTATUS status) { return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status; }

LSTATUS Create(HKEY parent, const Key& key, XLXTextView modulePath) {
    if (key.forceRemove) {
        if (const LSTATUS status = Missing(RegDeleteTreeW(parent, key.name.c_str())); status != ERROR_SUCCESS) {
            return status;
        }
    }
    OpenKey open;
    LSTATUS status = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_READ | KEY_WRITE, nullptr, open.Put(), nullptr);
    for (auto value = key.values.begin(); status == ERROR_SUCCESS && value != key.values.end(); ++value) {
        status = WriteValue(open.Get(), *value, modulePath);
    }
    for (auto child = key.keys.begin(); status == ERROR_SUCCESS && child != key.keys.end(); ++child) {
        status = Create(open.Get(), *child, modulePath);
    }
    return status;
}

bool HasSubkeys(HKEY key) {
    OLECHAR name[2]; // a longer name answers that more room is needed
    DWORD length = static_cast<DWORD>(std::size(name));
    return RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_NO_MORE_ITEMS;
}

LSTATUS Remove(HKEY parent, const Key& key) {
    if (key.forceRemove) { return Missing(RegDeleteTreeW(parent, key.name.c_str())); }
    OpenKey open;
    LSTATUS first = RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_READ | KEY_WRITE, open.Put());
    if (first != ERROR_SUCCESS) { return Missing(first); }
    const auto keep = [&first](LSTATUS status) { first = first == ERROR_SUCCESS ? Missing(status) : first; };
    for (const Key& child : key.keys) {
        keep(Remove(open.Get(), child));
    }
    for (const Value& value : key.values) {
        keep(RegDeleteValueW(open.Get(), value.name.c_str()));
    }
    if (!key.noRemove && !HasSubkeys(open.Get())) {
        open.Close();
        keep(RegDeleteKeyW(parent, key.name.c_str()));
    }
    return first;
}
} // namespace

XRegistryScript::XRegistryScript(std::string_view text) : m_root(Parser(text).Parse()) {}

HRESULT XRegistryScript::Register(HKEY root, XLXTextView modulePath) const {
    for (const Key& key : m_root.keys) {
        if (const LSTATUS status = Create(root, key, modulePath); status != ERROR_SUCCESS) {
            return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    return S_OK;
}

HRESULT XRegistryScript::Unregister(HKEY root) const {
    LSTATUS first = ERROR_SUCCESS;
    for (const Key& key : m_root.keys) {
        const LSTATUS status = Remove(root, key);
        first = first == ERROR_SUCCESS ? status : first;
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(first));
}

// SPDX-License-Identifier: MIT
//
// This process's registry hive. One mutex guards all keys and values; no foreign code is called while it is held.
#include <winerror.h>
#include <winreg.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {
using Name = std::u16string;
using NameView = std::u16string_view;

char16_t Fold(char16_t letter) {
    return letter >= u'a' && letter <= u'z' ? static_cast<char16_t>(letter - u'a' + u'A') : letter;
}

/// Orders names ignoring the case of ASCII letters.
struct NameOrder {
    bool operator()(const Name& left, const Name& right) const {
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                            [](char16_t a, char16_t b) { return Fold(a) < Fold(b); });
    }
};

struct Value {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

struct Node {
    std::map<Name, std::shared_ptr<Node>, NameOrder> children;
    std::map<Name, Value, NameOrder> values;
    bool deleted = false; // removed from the tree while still open
};
using NodePtr = std::shared_ptr<Node>;

/// The three root keys in the order of their handles.
struct Hive {
    std::mutex mutex; // guards every node
    const NodePtr roots[3] = {std::make_shared<Node>(), std::make_shared<Node>(), std::make_shared<Node>()};
};

/// Never destroyed, because objects that are destroyed at exit may still use the registry.
Hive& TheHive() {
    static Hive& hive = *new Hive;
    return hive;
}

/// The index of a root key: 0, 1 or 2. Any other result means that the key is not a root key.
ULONG_PTR RootNumber(HKEY key) {
    return reinterpret_cast<ULONG_PTR>(key) - reinterpret_cast<ULONG_PTR>(HKEY_CLASSES_ROOT);
}

/// Calls action with the key's node while the mutex is held.
template <typename F> LSTATUS WithNode(HKEY key, F&& action) try {
    Hive& hive = TheHive();
    const std::lock_guard guard(hive.mutex);
    if (key == nullptr) { return ERROR_INVALID_HANDLE; }
    const ULONG_PTR root = RootNumber(key);
    const NodePtr node = root < std::size(hive.roots) ? hive.roots[root] : *reinterpret_cast<const NodePtr*>(key);
    return node->deleted ? ERROR_KEY_DELETED : action(node);
} catch (const std::bad_alloc&) { return ERROR_NOT_ENOUGH_MEMORY; }

/// Follows a path of names separated by backslashes; creates missing keys when create is set. Returns null when a key
/// is missing. Sets made to whether the last key was created.
NodePtr Walk(NodePtr node, LPCWSTR path, bool create, bool& made) {
    made = false;
    NameView rest = path == nullptr ? NameView() : NameView(path);
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(u'\\'), rest.size());
        const Name name(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (name.empty()) { continue; }
        const auto found = node->children.find(name);
        made = found == node->children.end();
        if (made && !create) { return nullptr; }
        node = made ? node->children.emplace(name, std::make_shared<Node>()).first->second : found->second;
    }
    return node;
}

NodePtr Find(const NodePtr& node, LPCWSTR path) {
    bool made = false;
    return Walk(node, path, false, made);
}

HKEY Handle(const NodePtr& node) { return reinterpret_cast<HKEY>(new NodePtr(node)); }

void MarkDeleted(Node& node) {
    node.deleted = true;
    for (auto& [name, child] : node.children) {
        MarkDeleted(*child);
    }
}

/// Removes the key at a path from its parent.
LSTATUS Unlink(const NodePtr& node, LPCWSTR path, bool withChildren) {
    const NameView whole(path);
    const std::size_t slash = whole.rfind(u'\\');
    const bool nested = slash != NameView::npos;
    const NodePtr parent = nested ? Find(node, Name(whole.substr(0, slash)).c_str()) : node;
    const Name name(nested ? whole.substr(slash + 1) : whole);
    if (parent == nullptr) { return ERROR_FILE_NOT_FOUND; }
    const auto found = parent->children.find(name);
    if (found == parent->children.end()) { return ERROR_FILE_NOT_FOUND; }
    if (!withChildren && !found->second->children.empty()) { return ERROR_ACCESS_DENIED; }
    MarkDeleted(*found->second);
    parent->children.erase(found);
    return ERROR_SUCCESS;
}

Name NameOf(LPCWSTR text) { return text == nullptr ? Name() : Name(text); }
} // namespace

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD, LPWSTR, DWORD, REGSAM, SECURITY_ATTRIBUTES*, PHKEY result,
                        LPDWORD disposition) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        bool made = false;
        *result = Handle(Walk(node, subKey, true, made));
        if (disposition != nullptr) { *disposition = made ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY; }
        return ERROR_SUCCESS;
    });
}

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, REGSAM, PHKEY result) {
    *result = nullptr;
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        const NodePtr found = Find(node, subKey);
        if (found == nullptr) { return ERROR_FILE_NOT_FOUND; }
        *result = Handle(found);
        return ERROR_SUCCESS;
    });
}

LSTATUS RegCloseKey(HKEY key) {
    Hive& hive = TheHive();
    const std::lock_guard guard(hive.mutex);
    if (key == nullptr) { return ERROR_INVALID_HANDLE; }
    if (RootNumber(key) >= std::size(hive.roots)) { delete reinterpret_cast<NodePtr*>(key); }
    return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        Value value;
        value.type = type;
        value.data.assign(data, data == nullptr ? data : data + size);
        node->values.insert_or_assign(NameOf(name), std::move(value));
        return ERROR_SUCCESS;
    });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        const auto found = node->values.find(NameOf(name));
        if (found == node->values.end()) { return ERROR_FILE_NOT_FOUND; }
        const Value& value = found->second;
        if (type != nullptr) { *type = value.type; }
        if (size == nullptr) { return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER; }
        const DWORD room = *size;
        *size = static_cast<DWORD>(value.data.size());
        if (data == nullptr) { return ERROR_SUCCESS; }
        if (room < value.data.size()) { return ERROR_MORE_DATA; }
        std::copy(value.data.begin(), value.data.end(), data);
        return ERROR_SUCCESS;
    });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        return node->values.erase(NameOf(name)) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
    if (subKey == nullptr) { return ERROR_INVALID_PARAMETER; }
    return WithNode(key, [&](const NodePtr& node) { return Unlink(node, subKey, false); });
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        if (subKey != nullptr && *subKey != 0) { return Unlink(node, subKey, true); }
        MarkDeleted(*node);
        node->deleted = false; // the key itself stays, but is empty
        node->children.clear();
        node->values.clear();
        return ERROR_SUCCESS;
    });
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD, LPWSTR, LPDWORD,
                      PFILETIME lastWrite) {
    return WithNode(key, [&](const NodePtr& node) -> LSTATUS {
        if (index >= node->children.size()) { return ERROR_NO_MORE_ITEMS; }
        const Name& found = std::next(node->children.begin(), static_cast<std::ptrdiff_t>(index))->first;
        if (*nameLength <= found.size()) { return ERROR_MORE_DATA; }
        std::copy_n(found.c_str(), found.size() + 1, name);
        *nameLength = static_cast<DWORD>(found.size());
        if (lastWrite != nullptr) { *lastWrite = {}; }
        return ERROR_SUCCESS;
    });
}

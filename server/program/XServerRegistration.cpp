// SPDX-License-Identifier: MIT
#include "XServerRegistration.h"

namespace {
LSTATUS SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    HKEY handle = nullptr;
    LSTATUS status =
        RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr);
    if (status == ERROR_SUCCESS) {
        status = RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                                static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(handle);
    }
    return status;
}

std::wstring TextOf(const CLSID& clsid) {
    wchar_t text[40] = {};
    return std::wstring(text, StringFromGUID2(clsid, text, 40) > 0 ? 38 : 0);
}
} // namespace

HRESULT LXRegisterClass(const XClassRegistration& registration) {
    const std::wstring clsid = TextOf(registration.clsid);
    const std::wstring key = OLESTR("CLSID\\") + clsid;
    const std::wstring server = key + OLESTR("\\") + registration.serverKey;
    LSTATUS status = SetValue(key, nullptr, registration.description);
    const auto set = [&status](const std::wstring& where, const wchar_t* name, const std::wstring& value) {
        status = status == ERROR_SUCCESS ? SetValue(where, name, value) : status;
    };
    set(server, nullptr, registration.server);
    if (registration.anyThread) { set(server, OLESTR("ThreadingModel"), OLESTR("Both")); }
    if (!registration.progId.empty()) {
        set(key + OLESTR("\\ProgID"), nullptr, registration.progId);
        set(registration.progId, nullptr, registration.description);
        set(registration.progId + OLESTR("\\CLSID"), nullptr, clsid);
    }
    return HRESULT_FROM_WIN32(static_cast<ULONG>(status));
}

HRESULT LXUnregisterClass(const XClassRegistration& registration) {
    LSTATUS status = ERROR_SUCCESS;
    const auto remove = [&status](const std::wstring& key) {
        const LSTATUS removed = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        status = status == ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND ? removed : status;
    };
    remove(OLESTR("CLSID\\") + TextOf(registration.clsid));
    if (!registration.progId.empty()) { remove(registration.progId); }
    return HRESULT_FROM_WIN32(static_cast<ULONG>(status));
}

std::wstring LXModulePath(const void* address) {
    HMODULE module = nullptr;
    if (address != nullptr) {
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const wchar_t*>(address), &module);
    }
    std::wstring path(0x8000, OLESTR('\0'));
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

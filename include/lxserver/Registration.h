// SPDX-License-Identifier: MIT
//
// Windows: the registry keys by which COM finds a class, and starts its program or loads its module. They stand under
// HKEY_CLASSES_ROOT, as the component's do.
//
// Ownership  None.
// Threading  Everything may be called from any thread.
// Errors     The registry's code as an HRESULT.
#ifndef LXSERVER_REGISTRATION_H
#define LXSERVER_REGISTRATION_H

#include <lxserver/Language.h>

#ifdef _WIN32
#include <objbase.h>

#include <string>

namespace lx {
struct ClassRegistration {
    CLSID clsid;
    std::wstring progId; ///< "" for a class that is found by its id only
    std::wstring description;
    const wchar_t* serverKey; ///< LocalServer32 or InprocServer32
    std::wstring server;      ///< the command, or the module's path
    bool anyThread;           ///< a module's objects may be used on any thread
};

inline std::wstring TextOf(const CLSID& clsid) {
    wchar_t text[40] = {};
    return std::wstring(text, StringFromGUID2(clsid, text, 40) > 0 ? 38 : 0);
}

/// Writes one value, and the key that it stands under.
inline LSTATUS SetRegistryText(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
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

/// Writes the keys. Answers the registry's code when one cannot be written.
inline HRESULT RegisterClassKeys(const ClassRegistration& registration) {
    const std::wstring clsid = TextOf(registration.clsid);
    const std::wstring key = OLESTR("CLSID\\") + clsid;
    const std::wstring server = key + OLESTR("\\") + registration.serverKey;
    LSTATUS status = SetRegistryText(key, nullptr, registration.description);
    const auto set = [&status](const std::wstring& where, const wchar_t* name, const std::wstring& value) {
        status = status == ERROR_SUCCESS ? SetRegistryText(where, name, value) : status;
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

/// Removes them; keys that are not there are no failure.
inline HRESULT UnregisterClassKeys(const ClassRegistration& registration) {
    LSTATUS status = ERROR_SUCCESS;
    const auto remove = [&status](const std::wstring& key) {
        const LSTATUS removed = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        status = status == ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND ? removed : status;
    };
    remove(OLESTR("CLSID\\") + TextOf(registration.clsid));
    if (!registration.progId.empty()) { remove(registration.progId); }
    return HRESULT_FROM_WIN32(static_cast<ULONG>(status));
}

/// The path of the module that contains that address; of the program for null.
inline std::wstring ModulePath(const void* address) {
    HMODULE module = nullptr;
    if (address != nullptr) {
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const wchar_t*>(address), &module);
    }
    std::wstring path(0x8000, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}
} // namespace lx
#endif

#endif

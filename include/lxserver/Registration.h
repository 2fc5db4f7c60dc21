// SPDX-License-Identifier: MIT
//
// Windows: the registry keys with which COM finds a class and starts its program or loads its module. They are under
// HKEY_CLASSES_ROOT, like those of the component.
//
// Ownership  None.
// Threading  Thread-safe.
// Errors     Registration functions return the registry's error code as an HRESULT.
#ifndef LXSERVER_REGISTRATION_H
#define LXSERVER_REGISTRATION_H

#include <lxserver/Language.h>

#ifdef _WIN32
#include <objbase.h>

#include <string>

namespace lx {
struct ClassRegistration {
    CLSID clsid;
    std::wstring progId; ///< may be empty
    std::wstring description;
    const wchar_t* serverKey; ///< LocalServer32 or InprocServer32
    std::wstring server;      ///< the command line, or the path of the module
    bool anyThread;           ///< registers the ThreadingModel "Both"; for modules
};

inline std::wstring TextOf(const CLSID& clsid) {
    wchar_t text[40] = {};
    return std::wstring(text, StringFromGUID2(clsid, text, 40) > 0 ? 38 : 0);
}

/// Writes a string value. Creates its key if needed.
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

/// Writes the keys of a class. Returns the first error; later keys are then not written.
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

/// Removes the keys of a class. Missing keys are ignored.
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

/// The path of the module that contains an address, or of the program if the address is null.
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

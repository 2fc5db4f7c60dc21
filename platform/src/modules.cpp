// SPDX-License-Identifier: MIT
//
// Loaded modules. A module handle is the dynamic loader's handle, which is also its link_map.
#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <string>

namespace {
/// A path in UTF-8. Surrogates in paths are always paired.
std::string Narrow(const OLECHAR* text) {
    std::string result;
    for (; *text != 0; ++text) {
        uint32_t code = *text;
        if (code >= 0xD800 && code < 0xDC00 && text[1] >= 0xDC00 && text[1] < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (*++text - 0xDC00U);
        }
        const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        const uint32_t lead[] = {0, 0xC0, 0xE0, 0xF0};
        result += static_cast<char>(lead[more] | code >> (6 * more));
        for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) {
            result += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
        }
    }
    return result;
}

/// A path of the system in UTF-16.
std::u16string Widen(const std::string& text) {
    std::u16string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i++]);
        const int more = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        uint32_t code = more == 0 ? first : first & (0x3FU >> more);
        for (int k = 0; k < more && i < text.size(); ++k, ++i) {
            code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
        }
        if (code >= 0x10000) {
            result += static_cast<char16_t>(0xD7C0 + (code >> 10));
            code = 0xDC00 | (code & 0x3FF);
        }
        result += static_cast<char16_t>(code);
    }
    return result;
}

/// A module's full path. A module without a name is the program itself.
std::string PathOf(HMODULE module) {
    const char* name = module == nullptr ? "" : reinterpret_cast<const link_map*>(module)->l_name;
    const std::unique_ptr<char, void (*)(void*)> path(realpath(*name == 0 ? "/proc/self/exe" : name, nullptr),
                                                      std::free);
    return path == nullptr ? std::string() : path.get();
}
} // namespace

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR address, HMODULE* module) {
    constexpr DWORD supported = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    *module = nullptr;
    if (flags != supported) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Dl_info info = {};
    void* record = nullptr;
    if (dladdr1(address, &info, &record, RTLD_DL_LINKMAP) == 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    *module = static_cast<HMODULE>(record);
    return TRUE;
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) {
    const std::u16string path = Widen(PathOf(module));
    if (path.empty() || size == 0) {
        SetLastError(path.empty() ? ERROR_MOD_NOT_FOUND : ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    const DWORD length = static_cast<DWORD>(std::min<std::size_t>(path.size(), size - 1));
    std::copy_n(path.data(), length, buffer);
    buffer[length] = 0;
    if (length < path.size()) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return size;
    }
    SetLastError(ERROR_SUCCESS);
    return length;
}

HMODULE LoadLibraryW(LPCWSTR path) {
    void* const handle = dlopen(Narrow(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) { SetLastError(ERROR_MOD_NOT_FOUND); }
    return static_cast<HMODULE>(handle);
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    void* const symbol = dlsym(module, name);
    if (symbol == nullptr) { SetLastError(ERROR_PROC_NOT_FOUND); }
    return reinterpret_cast<FARPROC>(symbol);
}

BOOL FreeLibrary(HMODULE module) { return module != nullptr && dlclose(module) == 0; }

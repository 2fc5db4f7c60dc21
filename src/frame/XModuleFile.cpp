// SPDX-License-Identifier: MIT
#include "XModuleFile.h"

namespace {
constexpr size_t FirstLength = 260;
constexpr size_t LongestPath = 32768;

LXErrorLocation At(const char* method, int line = LX_CURRENT_LINE) noexcept {
    return LXHere("XModuleFile", "XModuleFile", method, line);
}
} // namespace

void XModuleFile::RaiseLastError(XLXTextView message, const LXErrorLocation& at) {
    const DWORD code = GetLastError();
    XLXError::Raise(code != ERROR_SUCCESS ? HRESULT_FROM_WIN32(code) : E_FAIL, message, at);
}

HMODULE XModuleFile::Handle() {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&XModuleFile::Handle), &module)) {
        RaiseLastError(OLESTR("the module has no handle"), At("Handle"));
    }
    return module;
}

XLXText XModuleFile::Path() {
    for (XLXText path(FirstLength, 0); path.size() < LongestPath; path.resize(path.size() * 2)) {
        const DWORD length = GetModuleFileNameW(Handle(), path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) { break; }
        if (length < path.size()) // a result that fills the buffer was cut off
        {
            path.resize(length);
            return path;
        }
    }
    RaiseLastError(OLESTR("the module has no path"), At("Path"));
}

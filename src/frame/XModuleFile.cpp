// SPDX-License-Identifier: MIT
#include "XModuleFile.h"

#include "XLXError.h"

namespace {
constexpr DWORD LongestPath = 32768;

void Check(bool succeeded, XLXTextView message, const char* method) {
    if (succeeded) { return; }
    const DWORD code = GetLastError();
    XLXError::Raise(code != ERROR_SUCCESS ? HRESULT_FROM_WIN32(code) : E_FAIL, message,
                    LXHere("XModuleFile", "XModuleFile", method));
}
} // namespace

XLXText LXModulePath() {
    HMODULE module = nullptr;
    Check(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             reinterpret_cast<LPCWSTR>(&LXModulePath), &module) != 0,
          OLESTR("the module has no handle"), "Handle");
    XLXText path(LongestPath, 0);
    const DWORD length = GetModuleFileNameW(module, path.data(), LongestPath);
    Check(length != 0 && length < LongestPath, OLESTR("the module has no path"), "Path"); // longer paths are truncated
    path.resize(length);
    return path;
}

// SPDX-License-Identifier: MIT
#include "modulefile.h"

#include <stdexcept>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace {
#ifdef _WIN32
constexpr OLECHAR FileName[] = OLESTR("LXConfigFactoryCache32.dll");

/// Runs the system's registration program and returns its exit code as an HRESULT.
HRESULT RunRegistrar(const XLXText& options) {
    XLXText command = OLESTR("regsvr32.exe /s ") + options + OLESTR("\"") + ModulePath() + OLESTR("\"");
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = ERROR_INVALID_FUNCTION;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return HRESULT_FROM_WIN32(code);
}
#else
constexpr OLECHAR FileName[] = OLESTR("LXConfigFactoryCache32.so");
#endif
} // namespace

XLXText ModulePath() {
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    const XLXTextView path(program, length);
    return XLXText(path.substr(0, path.find_last_of(OLESTR("/\\")) + 1)) + FileName;
}

#ifdef _WIN32
HRESULT RegisterModule() { return RunRegistrar(XLXText()); }

HRESULT UnregisterModule() { return RunRegistrar(OLESTR("/u ")); }

bool ModuleIsLoaded() { return GetModuleHandleW(FileName) != nullptr; }
#else
HRESULT RegisterModule() { return ModuleFile().RegisterServer(); }

HRESULT UnregisterModule() { return ModuleFile().UnregisterServer(); }

bool ModuleIsLoaded() {
    const XLXText wide = ModulePath();
    const std::string path(wide.begin(), wide.end());
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
}
#endif

ModuleFile::ModuleFile() : m_handle(LoadLibraryW(ModulePath().c_str())) {
    if (m_handle == nullptr) { throw std::runtime_error("the module cannot be loaded"); }
}

ModuleFile::~ModuleFile() { FreeLibrary(m_handle); }

void* ModuleFile::Address(const char* name) const { return reinterpret_cast<void*>(GetProcAddress(m_handle, name)); }

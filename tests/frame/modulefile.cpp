// SPDX-License-Identifier: MIT
#include "modulefile.h"

#include <stdexcept>

#ifndef _WIN32
#include <dlfcn.h>
#endif

#ifdef _WIN32
constexpr OLECHAR FileName[] = OLESTR("LXConfigFactoryCache32.dll");
#else
constexpr OLECHAR FileName[] = OLESTR("LXConfigFactoryCache32.so");
#endif

XLXText ModulePath() {
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    const XLXTextView path(program, length);
    return XLXText(path.substr(0, path.find_last_of(OLESTR("/\\")) + 1)) + FileName;
}

HRESULT RegisterModule() { return ModuleFile().RegisterServer(); }

HRESULT UnregisterModule() { return ModuleFile().UnregisterServer(); }

bool ModuleIsLoaded() {
#ifdef _WIN32
    return GetModuleHandleW(FileName) != nullptr;
#else
    const XLXText wide = ModulePath();
    const std::string path(wide.begin(), wide.end());
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
#endif
}

ModuleFile::ModuleFile() : m_handle(LoadLibraryW(ModulePath().c_str())) {
    if (m_handle == nullptr) { throw std::runtime_error("the module cannot be loaded"); }
}

ModuleFile::~ModuleFile() { FreeLibrary(m_handle); }

void* ModuleFile::Address(const char* name) const { return reinterpret_cast<void*>(GetProcAddress(m_handle, name)); }

// SPDX-License-Identifier: MIT
//
// How the module is unloaded, and its registration script, which is a resource.
#include "XComModule.h"
#include "XModuleFile.h"

namespace {
constexpr WORD RegistryScriptId = 102;
} // namespace

std::string_view XModuleFile::RegistryScript() {
    HMODULE const module = Handle();
    HRSRC const resource = FindResourceW(module, MAKEINTRESOURCEW(RegistryScriptId), OLESTR("REGISTRY"));
    const void* const text = resource != nullptr ? LockResource(LoadResource(module, resource)) : nullptr;
    if (text == nullptr) {
        RaiseLastError(OLESTR("the module has no registration script"),
                       LXHere("module_windows", "XModuleFile", "RegistryScript"));
    }
    return {static_cast<const char*>(text), SizeofResource(module, resource)};
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        theModule.Term(); // when the process ends its threads are gone, and so may be the heap's locks
    }
    return TRUE;
}

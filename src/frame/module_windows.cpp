// SPDX-License-Identifier: MIT
//
// Unloading the module, and registering its type library, which is a resource.
#include "XComModule.h"
#include "XLXComPtr.h"
#include "XModuleFile.h"

namespace {
// {3B700219-CA40-4C9A-B2E6-85B56601D125}, version 1.0, English (United States)
constexpr OLECHAR RegisteredKey[] = OLESTR("TypeLib\\{3B700219-CA40-4C9A-B2E6-85B56601D125}\\1.0");
constexpr WORD MajorVersion = 1;
constexpr WORD MinorVersion = 0;
constexpr LCID Locale = 1033;
} // namespace

HRESULT LXRegisterTypeLibrary(const XLXText& modulePath) {
    XLXText path = modulePath; // RegisterTypeLib takes a non-const path but does not write to it
    XLXComPtr<ITypeLib> library;
    const HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
    return SUCCEEDED(result) ? RegisterTypeLib(library.Get(), path.data(), nullptr) : result;
}

HRESULT LXUnregisterTypeLibrary() {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, RegisteredKey, 0, KEY_READ, &key) == ERROR_FILE_NOT_FOUND) { return S_OK; }
    RegCloseKey(key);
    return UnRegisterTypeLib(LIBID_LXCONFIGFACTORYCACHELib, MajorVersion, MinorVersion, Locale,
                             sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        theModule.Term(); // not at process exit: the threads are gone and may have left the heap locked
    }
    return TRUE;
}

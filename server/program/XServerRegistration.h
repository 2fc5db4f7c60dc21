// SPDX-License-Identifier: MIT
//
// The registry keys by which COM finds a class, and starts its program or loads its module. They stand under
// HKEY_CLASSES_ROOT, as the component's do.
#ifndef XSERVERREGISTRATION_H
#define XSERVERREGISTRATION_H

#include <objbase.h>

#include <string>

struct XClassRegistration {
    CLSID clsid;
    std::wstring progId; ///< "" for a class that is found by its id only
    std::wstring description;
    const wchar_t* serverKey; ///< LocalServer32 or InprocServer32
    std::wstring server;      ///< the command, or the module's path
    bool anyThread;           ///< a module's objects may be used on any thread
};

/// Writes the keys. Answers the registry's code when one cannot be written.
HRESULT LXRegisterClass(const XClassRegistration& registration);
/// Removes them; keys that are not there are no failure.
HRESULT LXUnregisterClass(const XClassRegistration& registration);

/// The path of the module that contains that address; of the program for null.
std::wstring LXModulePath(const void* address);

#endif

// SPDX-License-Identifier: MIT
//
// The module as a file: where it lies, what is embedded in it, and its type library.
//
// Errors     All functions but the last two raise; those answer the failure codes of the type library service.
#ifndef XMODULEFILE_H
#define XMODULEFILE_H

#include "XLXError.h"

#include <string_view>

namespace XModuleFile {
[[noreturn]] void RaiseLastError(XLXTextView message, const LXErrorLocation& at);

HMODULE Handle();

/// The module's full path.
XLXText Path();

/// The text of the registration script, which lives as long as the module.
std::string_view RegistryScript();
} // namespace XModuleFile

HRESULT LXRegisterTypeLibrary(const XLXText& modulePath);

/// A type library that is not registered is no failure.
HRESULT LXUnregisterTypeLibrary();

#endif

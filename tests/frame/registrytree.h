// SPDX-License-Identifier: MIT
//
// What stands in the registry below HKEY_CLASSES_ROOT, as lines of text.
#ifndef REGISTRYTREE_H
#define REGISTRYTREE_H

#include "XLXError.h"

#include <string>
#include <vector>

/// One line per key, "path", and per value, "path|name=text" (values that are no strings show their type). Sorted;
/// nothing when the key does not exist.
std::vector<std::string> RegistryTree(const std::string& path);

bool RegistryHas(const std::string& path);

/// The number of keys directly below a key.
unsigned RegistrySubkeys(const std::string& path);

/// Creates an empty key.
void RegistryCreate(const std::string& path, DWORD options = REG_OPTION_NON_VOLATILE);
void RegistryDelete(const std::string& path);

XLXText Wide(const std::string& ascii);
std::string Narrow(XLXTextView text);

#endif

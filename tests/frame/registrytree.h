// SPDX-License-Identifier: MIT
//
// The content of the registry below HKEY_CLASSES_ROOT, as lines of text.
#ifndef REGISTRYTREE_H
#define REGISTRYTREE_H

#include "XLXError.h"
#include "testtexts.h"

#include <string>
#include <vector>

/// A sorted line for each key, "path", and for each value, "path|name=text" (other values than strings show their
/// type). Empty if the key does not exist.
std::vector<std::string> RegistryTree(const std::string& path);

/// The number of keys directly below a key.
std::size_t RegistrySubkeys(const std::string& path);

/// Creates an empty key.
void RegistryCreate(const std::string& path, DWORD options = REG_OPTION_NON_VOLATILE);
void RegistryDelete(const std::string& path);

XLXText Wide(const std::string& ascii);

#endif

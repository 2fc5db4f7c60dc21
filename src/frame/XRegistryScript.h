// SPDX-License-Identifier: MIT
//
// The interpreter of registration scripts. A script is a tree of keys:
//
//     HKCR
//     {
//         Name = s 'default value'
//         {
//             val ValueName = s 'text'
//             NoRemove Name        stays when the script is undone
//             ForceRemove Name     is replaced whole, and removed whole
//         }
//     }
//
// %MODULE% in a text stands for the module's path. Words are separated by white space; all values are strings.
//
// Threading  A script is constant once constructed.
// Errors     The constructor raises E_UNEXPECTED for a text that is no script. Register and Unregister answer the
//            registry's own failure codes, and may raise std::bad_alloc.
#ifndef XREGISTRYSCRIPT_H
#define XREGISTRYSCRIPT_H

#include "XLXError.h"

#include <string_view>
#include <vector>

class XRegistryScript {
public:
    explicit XRegistryScript(std::string_view text);

    /// Creates the keys and values below the root. Stops at the first failure.
    HRESULT Register(HKEY root, XLXTextView modulePath) const;

    /// Removes what Register creates. Keys of others below the script's keys stay, with what they stand on. A failure
    /// does not stop the rest; the first one is answered.
    HRESULT Unregister(HKEY root) const;

    struct Value {
        XLXText name; // empty for the key's default value
        XLXText text;
    };

    struct Key {
        XLXText name;
        bool forceRemove = false;
        bool noRemove = false;
        std::vector<Value> values;
        std::vector<Key> keys;
    };

private:
    Key m_root;
};

#endif

// SPDX-License-Identifier: MIT
//
// The data id of a "cfc_specific" change notification: four fields, separated by "/".
#ifndef XDATAID_H
#define XDATAID_H

#include "XLXError.h"
#include "lxconfigfactorycache/LXProperties.h"

/// Whether an update mode (LXUpdateMode) has any of the given bits. A mode below 1 means all bits.
constexpr bool LXModeConcerns(LONG mode, LONG bits) noexcept { return mode < 1 || (mode & bits) != 0; }

enum class LXDataIdKind {
    Objects,
    Properties,
    ParentChild, ///< "pc"
    Searchable,
    Other
};

/// A parsed data id. The text fields refer to the text that was parsed.
struct XDataId {
    XLXTextView kindText;                    ///< the text before the first "/"; the whole id when there is none
    XLXTextView object;                      ///< the id or name between the first and the second "/"
    LONG subNumber = -1;                     ///< -1 when empty or absent
    LONG mode = -1;                          ///< the update mode; -1 when empty or absent
    LXDataIdKind kind = LXDataIdKind::Other; ///< the kind that kindText names
    bool hasKind = false;                    ///< the id has a first "/"
    bool complete = false;                   ///< the id has three "/"

    static XDataId Parse(XLXTextView id) noexcept;
};

#endif

// SPDX-License-Identifier: MIT
//
// The data id of a change notification of the type "cfc_specific": four fields separated by "/".
#ifndef XDATAID_H
#define XDATAID_H

#include "XLXError.h"
#include "lxconfigfactorycache/LXProperties.h"

/// Whether an update mode (LXUpdateMode) touches any of the given bits.
constexpr bool LXModeConcerns(LONG mode, LONG bits) noexcept { return mode < 1 || (mode & bits) != 0; }

enum class LXDataIdKind {
    Objects,
    Properties,
    ParentChild, ///< "pc"
    Searchable,
    Other
};

/// A data id, taken apart. The fields refer to the text that was parsed.
struct XDataId {
    XLXTextView kindText;                    ///< the text before the first "/"; the whole id when there is none
    XLXTextView object;                      ///< the id or name between the first and the second "/"
    LONG subNumber = -1;                     ///< -1 when empty or absent
    LONG mode = -1;                          ///< the update mode; -1 when empty or absent
    LXDataIdKind kind = LXDataIdKind::Other; ///< what kindText says
    bool hasKind = false;                    ///< there is a first "/"
    bool complete = false;                   ///< there are three "/"

    static XDataId Parse(XLXTextView id) noexcept;
};

#endif

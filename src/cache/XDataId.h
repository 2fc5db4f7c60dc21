// SPDX-License-Identifier: MIT
//
// The data id of a change notification of the type "cfc_specific": four fields separated by "/".
#ifndef XDATAID_H
#define XDATAID_H

#include "XLXError.h"

/// What an update mode, the last field of a data id, says changed. Bits may be combined; a mode below 1 says that
/// anything may have changed.
enum LXUpdateMode : LONG {
    LXUM_EVERYTHING = 0x1,
    LXUM_TYPES = 0x2,
    LXUM_PARENTCHILD = 0x4,
    LXUM_BROWSERIDS = 0x8,
    LXUM_FORMATS = 0x10,
    LXUM_PAGES = 0x20,
    LXUM_GROUPS = 0x40,
    LXUM_EDITORS = 0x80,
    LXUM_GLOBALFORMATSPECS = 0x100,
    LXUM_ATTRIBUTES = 0x200,
    LXUM_ATTRIBUTETYPES = 0x400,
    LXUM_ATTRIBUTEFORMATS = 0x800,
    LXUM_GROUPFORMATS = 0x1000
};

/// Whether a mode touches any of the given bits.
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

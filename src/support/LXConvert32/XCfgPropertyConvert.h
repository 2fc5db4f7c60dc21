// SPDX-License-Identifier: MIT
#ifndef XCFGPROPERTYCONVERT_H
#define XCFGPROPERTYCONVERT_H

#include "LXConfigFactoryCache.h"

/// The kinds of configuration elements, each with property names of its own.
enum class EConfigElementKind : int {
    Attribute = 0, ///< also formats and global attribute format specs
    AttributeType = 1,
    BrowserId = 2,
    Editor = 3,
    Group = 4,
    Page = 5,
    Relation = 6,
    PCInfo = 7,
    Type = 8
};

class XCfgPropertyConvert {
public:
    /// The property index of a name; -1 if the kind has no such name. Case matters.
    static int Convert(EConfigElementKind kind, BSTR name) noexcept;
};

#endif

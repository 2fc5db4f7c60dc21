// SPDX-License-Identifier: MIT
#ifndef XCFGPROPERTYCONVERT_H
#define XCFGPROPERTYCONVERT_H

#include "LXConfigFactoryCache.h"

/// The kinds of configuration elements, each with property names of its own.
enum class EConfigElementKind : int {
    Attribute = 0, ///< formats and global attribute format specs too
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
    /// The property index of a name, compared exactly; -1 for a name that the kind does not have.
    static int Convert(EConfigElementKind kind, BSTR name) noexcept;
};

#endif

// SPDX-License-Identifier: MIT
//
// What transfer arrays carry: plain records, each owning its objects, values and sub-arrays. They can be moved, not
// copied.
#ifndef XTRANSFERRECORDS_H
#define XTRANSFERRECORDS_H

#include "XLXSafeArray.h"
#include "XVariantRow.h"

#include <map>
#include <vector>

namespace XLXCFCDataTransfer {
/// How the content of an array is organised: the first element of its header.
enum class EMappingAlgorithm : LONG { Map = 1, Vector = 2, Single = 4 };

/// The record class that an array carries: the second element of its header.
enum class EWrapperId : LONG { TypeData = 0, PCData = 1, TypeComp = 4 };

/// Index of the base type's record where there is no base type.
constexpr LONG NoBaseIndex = -1;
/// Values of an attribute in an attribute list.
constexpr ULONG AttributeValueCount = 60;
/// Values of an attribute type in an attribute list.
constexpr ULONG AttributeTypeValueCount = 7;

/// The head of every record: the server's object, which may be null, and its property values by member index.
struct XILXConfigData {
    XLXComPtr<IUnknown> object;
    XVariantRow values;
};

/// A type's components, each an unparsed record list. Null: not delivered; an array of no elements: delivered, empty.
struct XILXTypeComp {
    XLXSafeArray pages;
    XLXSafeArray groups;
    XLXSafeArray editors;
    XLXSafeArray attributes;
};

struct XILXTypeData {
    XILXConfigData config;
    XILXTypeComp components;
    LONG baseIndex = NoBaseIndex; ///< record index of the base type
    bool listed = false;          ///< the type enumerations list the type
    bool searchable = false;
};

/// The content of a type array. Names may be there without a record, so that a base type has an index.
struct XILXTypeMap {
    std::map<XLXText, ULONG> names;
    std::map<ULONG, XILXTypeData> records;
};

/// A parent-child relation.
struct XILXPCData : XILXConfigData {};

/// A record of an attribute list: an attribute's object and values, and its attribute types.
struct XILXAttributeData : XILXConfigData {
    std::vector<XILXConfigData> types;
};
} // namespace XLXCFCDataTransfer

#endif

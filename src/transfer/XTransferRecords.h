// SPDX-License-Identifier: MIT
//
// The records of transfer arrays. Each owns its objects, values and sub-arrays; records are movable but not copyable.
#ifndef XTRANSFERRECORDS_H
#define XTRANSFERRECORDS_H

#include "XLXSafeArray.h"
#include "XVariantRow.h"

#include <map>
#include <vector>

namespace XLXCFCDataTransfer {
/// The first element of an array's header: how the content is organised.
enum class EMappingAlgorithm : LONG { Map = 1, Vector = 2, Single = 4 };

/// The second element of an array's header: the class of its records.
enum class EWrapperId : LONG { TypeData = 0, PCData = 1, TypeComp = 4 };

/// The base type's record index of a type without a base type.
constexpr LONG NoBaseIndex = -1;
/// Number of values of an attribute in an attribute list.
constexpr ULONG AttributeValueCount = 60;
/// Number of values of an attribute type in an attribute list.
constexpr ULONG AttributeTypeValueCount = 7;

/// The beginning of every record: the server's object, which may be null, and its property values by member index.
struct XILXConfigData {
    XLXComPtr<IUnknown> object;
    XVariantRow values;
};

/// A type's components as unparsed record lists. Null: not delivered. An array without elements: delivered, but empty.
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

/// The content of a type array. A name may come without a record, so that a base type has an index.
struct XILXTypeMap {
    std::map<XLXText, ULONG> names;
    std::map<ULONG, XILXTypeData> records;
};

/// A parent-child relation.
struct XILXPCData : XILXConfigData {};

/// A record of an attribute list: an attribute with its attribute types.
struct XILXAttributeData : XILXConfigData {
    std::vector<XILXConfigData> types;
};
} // namespace XLXCFCDataTransfer

#endif

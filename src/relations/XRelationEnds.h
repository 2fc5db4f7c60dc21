// SPDX-License-Identifier: MIT
//
// Determines the ends of a relation from data objects.
#ifndef XRELATIONENDS_H
#define XRELATIONENDS_H

#include "XLXComBSTR.h"

/// The types at both ends of a relation.
struct XRelationEnds {
    /// Asks the given objects for the names of their types. A parent type name that is given is kept, unless the parent
    /// derives from the component base type. Raises E_INVALIDARG if neither an object nor a name is given for the
    /// parent.
    XRelationEnds(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR parentTypeName = nullptr);

    XLXText parentType;
    XLXText childType; ///< empty: any type
    HRESULT result;    ///< S_FALSE: an object has no type, so it has no relations
};

/// The names of the relation that a relationship object represents, seen from a parent. Raises when one is missing.
struct XRelationshipNames {
    XRelationshipNames(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship);

    XLXComBSTR parentType;
    XLXComBSTR childType;
    XLXComBSTR childList;
};

#endif

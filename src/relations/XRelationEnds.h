// SPDX-License-Identifier: MIT
//
// What data objects say about the relation between them.
#ifndef XRELATIONENDS_H
#define XRELATIONENDS_H

#include "XLXComBSTR.h"

/// The types at the two ends of a relation.
struct XRelationEnds {
    /// Asks the objects that are given for their types; an object whose type is named is asked only when it is derived
    /// from the component base type. Raises E_INVALIDARG when there is neither an object nor a name for the parent.
    XRelationEnds(ILX_BaseDataObject* parent, ILX_BaseDataObject* child, BSTR parentTypeName = nullptr);

    XLXText parentType;
    XLXText childType; ///< empty: any
    HRESULT result;    ///< S_FALSE: an object has no type, so nothing stands above or below it
};

/// The names of the relation that a relationship object stands for, seen from a parent. Raises what is missing.
struct XRelationshipNames {
    XRelationshipNames(ILX_BaseDataObject* parent, ILX_BaseDataObject* relationship);

    XLXComBSTR parentType;
    XLXComBSTR childType;
    XLXComBSTR childList;
};

#endif

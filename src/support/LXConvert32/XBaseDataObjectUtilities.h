// SPDX-License-Identifier: MIT
#ifndef XBASEDATAOBJECTUTILITIES_H
#define XBASEDATAOBJECTUTILITIES_H

#include "XLXComPtr.h"

#include <vector>

class XBaseDataObjectUtilities {
public:
    using Objects = std::vector<XLXComPtr<ILX_BaseDataObject>>;
    /// Told each method that is about to be called.
    using BeforeCall = void (*)(const char* method) noexcept;

    /// Lists the children of a data object in one child list. A failure is returned, with what came before it listed;
    /// an enumeration that makes no end is E_FAIL.
    static HRESULT GetChildrenVector(ILX_BaseDataObject& object, BSTR childList, Objects& children,
                                     BeforeCall beforeCall);

    /// Takes all objects of an enumeration.
    static HRESULT GetVector(IEnumBaseDataObject& objects, Objects& all, BeforeCall beforeCall);
};

#endif

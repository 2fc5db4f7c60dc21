// SPDX-License-Identifier: MIT
//
// The methods of data objects that the sample server does not implement.
#ifndef XDATAOBJECTREFUSALS_H
#define XDATAOBJECTREFUSALS_H

#include "XServerObject.h"

#include <lxserver/Refusals.h>

template <class... Others>
class XDataObjectRefusals : public lx::DataObjectRefusals<XServerObject<ILX_BaseDataObject, Others...>> {
public:
    using lx::DataObjectRefusals<XServerObject<ILX_BaseDataObject, Others...>>::DataObjectRefusals;
};

#endif

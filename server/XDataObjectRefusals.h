// SPDX-License-Identifier: MIT
//
// A data object of the sample server, as far as it offers nothing.
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

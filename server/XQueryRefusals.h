// SPDX-License-Identifier: MIT
//
// A query of the sample server, as far as it offers nothing.
#ifndef XQUERYREFUSALS_H
#define XQUERYREFUSALS_H

#include "XServerObject.h"

#include <lxserver/Refusals.h>

template <class... Others> class XQueryRefusals : public lx::QueryRefusals<XServerObject<ILX_Query, Others...>> {
public:
    using lx::QueryRefusals<XServerObject<ILX_Query, Others...>>::QueryRefusals;
};

#endif

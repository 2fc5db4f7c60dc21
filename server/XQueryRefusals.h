// SPDX-License-Identifier: MIT
//
// The methods of queries that the sample server does not implement.
#ifndef XQUERYREFUSALS_H
#define XQUERYREFUSALS_H

#include "XServerObject.h"

#include <lxserver/Refusals.h>

template <class... Others> class XQueryRefusals : public lx::QueryRefusals<XServerObject<ILX_Query, Others...>> {
public:
    using lx::QueryRefusals<XServerObject<ILX_Query, Others...>>::QueryRefusals;
};

#endif

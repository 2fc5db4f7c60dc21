// SPDX-License-Identifier: MIT
#ifndef XLXTEXT_H
#define XLXTEXT_H

#include "LXConfigFactoryCache.h"

#include <string>
#include <string_view>

using XLXText = std::basic_string<OLECHAR>;
using XLXTextView = std::basic_string_view<OLECHAR>;

#endif

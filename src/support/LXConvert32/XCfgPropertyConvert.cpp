// SPDX-License-Identifier: MIT
#include "XCfgPropertyConvert.h"

#include "XLXComBSTR.h"

#include <algorithm>
#include <iterator>

namespace {
struct PropertyName {
    EConfigElementKind kind;
    int index;
    XLXTextView name;
};

constexpr PropertyName PropertyNames[] = {
#define LX_PROPERTY(kind, index, name) {EConfigElementKind::kind, index, OLESTR(name)},
#include "propertynames.inc"
#undef LX_PROPERTY
};
} // namespace

int XCfgPropertyConvert::Convert(EConfigElementKind kind, BSTR name) noexcept {
    const XLXTextView wanted = LXBstrView(name);
    const auto found = std::find_if(std::begin(PropertyNames), std::end(PropertyNames), [&](const PropertyName& entry) {
        return entry.kind == kind && entry.name == wanted;
    });
    return found != std::end(PropertyNames) ? found->index : -1;
}

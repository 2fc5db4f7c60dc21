// SPDX-License-Identifier: MIT
#include "XDataId.h"

#include "XLXComBSTR.h"

namespace {
LXDataIdKind KindOf(XLXTextView text) noexcept {
    if (text == OLESTR("objects")) { return LXDataIdKind::Objects; }
    if (text == OLESTR("properties")) { return LXDataIdKind::Properties; }
    if (text == OLESTR("pc")) { return LXDataIdKind::ParentChild; }
    return text == OLESTR("searchable") ? LXDataIdKind::Searchable : LXDataIdKind::Other;
}
} // namespace

XDataId XDataId::Parse(XLXTextView id) noexcept {
    XDataId parsed;
    const auto first = id.find('/');
    parsed.kindText = id.substr(0, first);
    parsed.kind = KindOf(parsed.kindText);
    if (first == XLXTextView::npos) { return parsed; }
    parsed.hasKind = true;
    const auto second = id.find('/', first + 1);
    if (second == XLXTextView::npos) { return parsed; }
    parsed.object = id.substr(first + 1, second - first - 1);
    const auto third = id.find('/', second + 1);
    if (third == XLXTextView::npos) { return parsed; }
    parsed.complete = true;
    if (const XLXTextView number = id.substr(second + 1, third - second - 1); !number.empty()) {
        parsed.subNumber = LXParseDecimal(number);
    }
    if (const XLXTextView number = id.substr(third + 1); !number.empty()) { parsed.mode = LXParseDecimal(number); }
    return parsed;
}

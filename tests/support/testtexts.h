// SPDX-License-Identifier: MIT
//
// Texts in tests, and the thread's error information.
#ifndef TESTTEXTS_H
#define TESTTEXTS_H

#include "XLXComBSTR.h"
#include "XLXComPtr.h"
#include "XLXText.h"

#include <string>

/// The ASCII characters of a text; '?' for others.
inline std::string LXNarrow(XLXTextView text) {
    std::string narrow;
    for (const OLECHAR character : text) {
        narrow.push_back(character < 0x80 ? static_cast<char>(character) : '?');
    }
    return narrow;
}

/// The thread's error information after a call. Take clears it.
struct LXErrorInformation {
    bool present = false;
    XLXText description;
    XLXText source;

    static LXErrorInformation Take() {
        LXErrorInformation result;
        XLXComPtr<IErrorInfo> info;
        result.present = GetErrorInfo(0, info.Put()) == S_OK && info;
        if (result.present) {
            XLXComBSTR text;
            info->GetDescription(text.Put());
            result.description = text.View();
            info->GetSource(text.Put());
            result.source = text.View();
        }
        return result;
    }
};

#endif

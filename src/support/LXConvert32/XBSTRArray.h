// SPDX-License-Identifier: MIT
//
// A list of strings on its way to a caller.
//
// Ownership  The array owns its strings until Detach; the caller then frees each with SysFreeString and the buffer
//            with CoTaskMemFree.
// Errors     Raises std::bad_alloc, or E_OUTOFMEMORY; nothing is lost then.
#ifndef XBSTRARRAY_H
#define XBSTRARRAY_H

#include "XLXComBSTR.h"

#include <vector>

class XBSTRArray {
public:
    void Add(XLXTextView text) { m_texts.emplace_back(text); }

    /// Gives the strings to the caller in a buffer of its own, and leaves the array empty. No strings are the count 0
    /// and null.
    void Detach(LONG* count, BSTR** texts);

private:
    std::vector<XLXComBSTR> m_texts;
};

#endif

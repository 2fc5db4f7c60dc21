// SPDX-License-Identifier: MIT
#ifndef XRETIRED_H
#define XRETIRED_H

#include "XLXComPtr.h"
#include "XLXSafeArray.h"
#include "XVariantRow.h"

#include <vector>

/// What a refresh removed from the refreshed objects. Declare it before the lock: its destructor releases the server
/// objects, which must happen with no lock held.
struct XRetired {
    std::vector<XLXComPtr<IUnknown>> objects;
    std::vector<XVariantRow> values;
    std::vector<XLXSafeArray> arrays;

    void Take(XLXComPtr<IUnknown> object) {
        if (object) { objects.push_back(std::move(object)); }
    }
    void Take(XVariantRow row) {
        if (!row.empty()) { values.push_back(std::move(row)); }
    }
    void Take(XLXSafeArray array) {
        if (array) { arrays.push_back(std::move(array)); }
    }
};

#endif

// SPDX-License-Identifier: MIT
#ifndef XRETIRED_H
#define XRETIRED_H

#include "XLXComPtr.h"
#include "XLXSafeArray.h"
#include "XVariantRow.h"

#include <vector>

/// What a refresh took out of the objects that it refreshed. Server objects are released here: declared before the
/// lock, it is destroyed when no lock is held any more.
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

// SPDX-License-Identifier: MIT
#ifndef XNAMEINDEX_H
#define XNAMEINDEX_H

#include "XLXText.h"

#include <array>
#include <unordered_map>

template <std::size_t Count>
struct XNamesHash
{
    std::size_t operator()(const std::array<XLXTextView, Count>& names) const noexcept
    {
        std::size_t hash = 0;
        for (const XLXTextView name : names)
        {
            hash = hash * 31 + std::hash<XLXTextView>()(name);
        }
        return hash;
    }
};

/// Finds what belongs to a name, or to several names together, faster than the ordered map does that it stands beside.
/// It refers to the names in that map's keys.
template <class T, std::size_t Count = 1>
using XNameIndex = std::unordered_map<std::array<XLXTextView, Count>, T, XNamesHash<Count>>;

#endif

// SPDX-License-Identifier: MIT
#include "XPropertyTable.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace {
const XModelValue Nothing;

/// One table per kind, in the order of XElementKind.
std::vector<XPropertyTable> MakeTables() {
    std::vector<XPropertyTable> tables;
#define LX_KIND(kind, count) tables.push_back({count, {}});
#define LX_PROPERTY(index, key, name, value) tables.back().rows.push_back({index, key, name, value});
#include "propertyrows.inc"
#undef LX_KIND
#undef LX_PROPERTY
    return tables;
}
} // namespace

const XPropertyTable& XPropertyTable::Of(XElementKind kind) {
    static const std::vector<XPropertyTable> tables = MakeTables();
    return tables[static_cast<size_t>(kind)];
}

const XModelValue& XPropertyTable::Default(int index) const noexcept {
    const auto row =
        std::find_if(rows.begin(), rows.end(), [index](const XPropertyRow& r) { return r.index == index; });
    return row != rows.end() ? row->defaultValue : Nothing;
}

int XPropertyTable::FindConfigName(XLXTextView name) const {
    const std::string narrow = LXToUtf8(name);
    const auto row = std::find_if(rows.begin(), rows.end(), [&narrow](const XPropertyRow& r) {
        return r.configName != nullptr && narrow == r.configName;
    });
    return row != rows.end() ? row->index : -1;
}

int XPropertyTable::FindKey(std::string_view key) const {
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [key](const XPropertyRow& r) { return r.key != nullptr && key == r.key; });
    if (row != rows.end()) { return row->index; }
    int index = -1;
    if (key.size() < 2 || key[0] != 'p' ||
        std::from_chars(key.data() + 1, key.data() + key.size(), index).ptr != key.data() + key.size()) {
        return -1;
    }
    return index < count ? index : -1;
}

std::string XPropertyTable::Key(int index) const {
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [index](const XPropertyRow& r) { return r.index == index && r.key != nullptr; });
    return row != rows.end() ? row->key : "p" + std::to_string(index);
}

const XModelValue& XModelProperties::Get(int index) const {
    if (!InRange(index)) { throw std::out_of_range("property index " + std::to_string(index)); }
    const auto stored = std::lower_bound(m_stored.begin(), m_stored.end(), index,
                                         [](const auto& entry, int wanted) { return entry.first < wanted; });
    return stored != m_stored.end() && stored->first == index ? stored->second
                                                              : XPropertyTable::Of(m_kind).Default(index);
}

void XModelProperties::Set(int index, XModelValue value) {
    const bool isDefault = XPropertyTable::Of(m_kind).Default(index) == value;
    if (!InRange(index)) { throw std::out_of_range("property index " + std::to_string(index)); }
    auto at = std::lower_bound(m_stored.begin(), m_stored.end(), index,
                               [](const auto& entry, int wanted) { return entry.first < wanted; });
    const bool found = at != m_stored.end() && at->first == index;
    if (isDefault) {
        if (found) { m_stored.erase(at); }
    } else if (found) {
        at->second = std::move(value);
    } else {
        m_stored.emplace(at, index, std::move(value));
    }
}

void XModelProperties::AppendTo(lx::FlatArray& array) const {
    const XPropertyTable& table = XPropertyTable::Of(m_kind);
    std::vector<const XModelValue*> values(static_cast<size_t>(table.count), &Nothing);
    for (const XPropertyRow& row : table.rows) {
        values[static_cast<size_t>(row.index)] = &row.defaultValue;
    }
    for (const auto& [index, value] : m_stored) {
        values[static_cast<size_t>(index)] = &value;
    }
    for (const XModelValue* const value : values) {
        value->ToVariant().DetachTo(array.Next());
    }
}

// SPDX-License-Identifier: MIT
#include "XPropertyTable.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace {
const XModelValue Nothing;

/// Rows of properties that have a default but no name.
void Unnamed(std::vector<XPropertyRow>& rows, std::initializer_list<int> indexes, const XModelValue& value) {
    for (const int index : indexes) {
        rows.push_back({index, nullptr, nullptr, value});
    }
}

std::vector<XPropertyRow> AttributeRows() {
    std::vector<XPropertyRow> rows = {
        {XProperty::AttributeName, "name", "LXCFG_attributename", ""},
        {XProperty::DataType, "dataType", nullptr, 2},
        {XProperty::Label, "label", nullptr, ""},
        {XProperty::Unit, "unit", nullptr, ""},
        {XProperty::Description, "description", nullptr, ""},
        {XProperty::Position, "position", nullptr, 1},
        {XProperty::ShowInBrowser, "browser", "LXCFG_showinbrowser", true},
        {XProperty::ShowInEditor, "editor", "LXCFG_showineditor", false},
        {XProperty::ShowInFinder, "finder", "LXCFG_showinfinder", false},
        {XProperty::Length, "length", nullptr, 0},
        {XProperty::Minimum, "minimum", nullptr, 0.0},
        {XProperty::Maximum, "maximum", nullptr, 0.0},
        {XProperty::AttributeGroup, "group", "LXCFG_attributegroupnumber", 0},
        {XProperty::InAvSet, "avSet", "LXCFG_inavset", false},
        {XProperty::Printable, "printable", "LXCFG_printable", false},
        {XProperty::NotInFinder, "notInFinder", "LXCFG_notinfinder", false},
        {XProperty::Foldername, "folder", nullptr, "Foldername"},
        {XProperty::DefaultValue, "default", nullptr, ""},
        {XProperty::Origin, "origin", "LXCFG_origin", 0},
    };
    Unnamed(rows, {40, 41, 42, 43, 47, 49}, "");
    Unnamed(rows, {29}, true);
    Unnamed(rows, {22, 23, 24, 26, 27, 30, 31, 34, 44, 45, 48}, false);
    Unnamed(rows, {3, 11, 12, 15, 20, 21, 35}, 0);
    Unnamed(rows, {33}, 64);
    Unnamed(rows, {39}, 5);
    return rows;
}

std::vector<XPropertyRow> FormatRows() {
    return {{XProperty::AttributeName, "name", "LXCFG_attributename", ""},
            {XProperty::DataType, "formatType", nullptr, 0},
            {XProperty::Label, "pattern", nullptr, ""},
            {XProperty::Length, "width", nullptr, 0}};
}

std::vector<XPropertyRow> SpecRows() {
    return {{XProperty::AttributeName, "id", "LXCFGAFS_attributepropertyid", ""},
            {XProperty::Label, "label", nullptr, ""}};
}

std::vector<XPropertyRow> RelationRows() {
    std::vector<XPropertyRow> rows = {
        {XProperty::ChildList, "list", "LXCFPC_childlistname", ""},
        {XProperty::ChildName, "child", "LXCFPC_childname", ""},
        {XProperty::SystemInternal, "internal", "LXCFPC_issysteminternal", false},
        {XProperty::ParentName, "parent", "LXCFPC_parentname", ""},
        {XProperty::PPRRelationType, "ppr", "LXCFPC_pprrelationtype", 0},
        {XProperty::NameShort, "nameShort", nullptr, ""},
    };
    Unnamed(rows, {2, 3, 23, 28}, "");
    Unnamed(rows, {4, 27, 29, 34}, 0);
    Unnamed(rows, {12, 15}, true);
    Unnamed(rows, {8, 9, 10, 11, 13, 17, 26, 30, 31, 32, 33, 35, 36}, false);
    return rows;
}

std::vector<XPropertyRow> PCInfoRows() {
    std::vector<XPropertyRow> rows = {{XProperty::PCInfoLabel, "label", nullptr, ""},
                                      {XProperty::PCInfoBrowser, "browser", "LXCFG_pcinfobrowserid", ""},
                                      {XProperty::PCInfoNew, "new", "LXCFG_pcinfonew", 0}};
    Unnamed(rows, {3, 9}, "");
    Unnamed(rows, {2, 7, 8}, 0);
    Unnamed(rows, {4, 5}, 1);
    return rows;
}

std::vector<XPropertyRow> TypeRows() {
    return {{XProperty::TypeName, "name", "LXCFG_typename", ""},
            {XProperty::TypeLabel, "label", nullptr, ""},
            {XProperty::BaseTypeName, "base", "LXCFG_basetypename", {}}, // a root type has none
            {XProperty::TypeDescription, "description", nullptr, ""},
            {XProperty::TypeTable, "table", nullptr, ""},
            {XProperty::TypeIcon, "icon", nullptr, ""},
            {XProperty::Searchable, "searchable", "LXCFG_searchable", true},
            {27, nullptr, "LXCFG_basetype", {}}};
}

/// One table per kind, in the order of XElementKind.
std::vector<XPropertyTable> MakeTables() {
    return {
        {60, AttributeRows()},
        {60, FormatRows()},
        {60, SpecRows()},
        {7,
         {{XProperty::AttributeTypeLabel, "label", nullptr, ""},
          {XProperty::AttributeTypeName, "name", "LXCFG_attributetypename", ""}}},
        {2, {{XProperty::BrowserIdName, "name", "LXCFG_browserid", ""}, {1, "label", nullptr, ""}}},
        {5,
         {{XProperty::EditorBrowserId, "browser", "LXCFG_editorbrowserid", ""},
          {XProperty::DefaultEditor, "default", "LXCFG_defaulteditor", false},
          {XProperty::DefaultNewEditor, "defaultNew", "LXCFG_defaultneweditor", false},
          {XProperty::ProgId, "progId", "LXCFG_progid", ""},
          {XProperty::MenuText, "menu", nullptr, ""}}},
        {16,
         {{XProperty::GroupLabel, "label", nullptr, ""},
          {XProperty::GroupNumber, "number", "LXCFG_groupnumber", 0},
          {XProperty::GroupPage, "page", "LXCFG_grouppagenumber", 0},
          {XProperty::ParentGroup, "parent", "LXCFG_parentgroupnumber", 0}}},
        {7, {{XProperty::PageLabel, "label", nullptr, ""}, {XProperty::PageNumber, "number", "LXCFG_pagenumber", 0}}},
        {37, RelationRows()},
        {10, PCInfoRows()},
        {28, TypeRows()},
    };
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

XLXVariantVector XModelProperties::ToVariants() const {
    const XPropertyTable& table = XPropertyTable::Of(m_kind);
    std::vector<const XModelValue*> values(static_cast<size_t>(table.count), &Nothing);
    for (const XPropertyRow& row : table.rows) {
        values[static_cast<size_t>(row.index)] = &row.defaultValue;
    }
    for (const auto& [index, value] : m_stored) {
        values[static_cast<size_t>(index)] = &value;
    }
    XLXVariantVector variants;
    variants.reserve(values.size());
    for (const XModelValue* const value : values) {
        variants.push_back(value->ToVariant());
    }
    return variants;
}

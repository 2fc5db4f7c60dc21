// SPDX-License-Identifier: MIT
//
// The properties of each kind of configuration element: their number, names and defaults, from models/properties.json.
// The tables are constant.
#ifndef XPROPERTYTABLE_H
#define XPROPERTYTABLE_H

#include "XModelValue.h"
#include "lxconfigfactorycache/LXProperties.h"

#include <lxserver/FlatArray.h>

#include <utility>
#include <vector>

enum class XElementKind {
    Attribute,
    Format,
    GlobalSpec,
    AttributeType,
    BrowserId,
    Editor,
    Group,
    Page,
    Relation,
    PCInfo,
    Type
};

/// The properties that the server and its users refer to by index.
namespace XProperty = lx;

/// One property of a kind. A property without a row in the table has no name and is empty by default.
struct XPropertyRow {
    int index;
    const char* key;        ///< its name in a model file
    const char* configName; ///< its name for ILXConfigObject::Get; null: none
    XModelValue defaultValue;
};

struct XPropertyTable {
    int count; ///< number of values of an element of this kind
    std::vector<XPropertyRow> rows;

    const XModelValue& Default(int index) const noexcept;
    /// The index of a name for ILXConfigObject::Get; -1 if the kind has no such name.
    int FindConfigName(XLXTextView name) const;
    /// The index of a key in a model file, where "p<number>" stands for any index; -1 if there is none.
    int FindKey(std::string_view key) const;
    /// The key of an index in the model file.
    std::string Key(int index) const;

    static const XPropertyTable& Of(XElementKind kind);
};

/// The property values of one element. Only values that differ from the defaults are stored.
class XModelProperties {
public:
    explicit XModelProperties(XElementKind kind) noexcept : m_kind(kind) {}

    XElementKind Kind() const noexcept { return m_kind; }
    int Count() const noexcept { return XPropertyTable::Of(m_kind).count; }
    bool InRange(int index) const noexcept { return index >= 0 && index < Count(); }
    /// The value of a property; raises std::out_of_range.
    const XModelValue& Get(int index) const;
    /// Sets a property; raises std::out_of_range.
    void Set(int index, XModelValue value);
    /// The stored values, by index.
    const std::vector<std::pair<int, XModelValue>>& Stored() const noexcept { return m_stored; }
    /// Appends all values in index order, as the server delivers them.
    void AppendTo(lx::FlatArray& array) const;

private:
    XElementKind m_kind;
    std::vector<std::pair<int, XModelValue>> m_stored; // ascending by index
};

#endif

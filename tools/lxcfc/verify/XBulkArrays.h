// SPDX-License-Identifier: MIT
//
// Reads a server's bulk arrays element by element and checks them against the transfer format. A violation becomes a
// finding with the number of the element and the names of the type and the attribute.
//
// Ownership  Records reference elements of the array. The object that a read function returns keeps the array alive.
#ifndef XBULKARRAYS_H
#define XBULKARRAYS_H

#include "XContract.h"
#include "XLXSafeArray.h"
#include "XPropertyTable.h"
#include "XValueText.h"

#include <map>
#include <memory>
#include <optional>
#include <set>

/// A record of an array: an object and its values.
struct XReadRecord {
    XElementKind kind = XElementKind::Type;
    std::string path; ///< the element, such as: type "Pump", attribute "Head"
    IUnknown* object = nullptr;
    std::span<const VARIANT> values;
    std::vector<XReadRecord> types; ///< attribute types; for attributes only

    /// The key: its name, or its number as text.
    std::string Key() const;
    /// The value of a property as text; "" if it is not a text.
    std::string Text(int index) const;
};

using XReadList = std::optional<std::vector<XReadRecord>>; ///< nullopt: not delivered

struct XReadComponents {
    XReadList pages;
    XReadList groups;
    XReadList editors;
    XReadList attributes;
};

struct XReadType {
    XReadRecord head;
    XReadComponents components;
    ULONG index = 0;
    LONG base = -1;
    bool listed = false;
    bool searchable = false;
};

/// Owns an array and gives access to its elements.
class XOpenArray {
public:
    /// Takes ownership of the array. Throws XArrayRefusal if its shape is wrong.
    explicit XOpenArray(SAFEARRAY* array);
    ~XOpenArray();
    XOpenArray(const XOpenArray&) = delete;
    XOpenArray& operator=(const XOpenArray&) = delete;

    std::span<const VARIANT> Elements() const { return m_elements; }

private:
    XLXSafeArray m_array;
    std::span<const VARIANT> m_elements;
};

/// The exception for an array that violates the format.
struct XArrayRefusal {
    XRule rule;
    std::string what;
};

struct XReadTypes {
    std::shared_ptr<XOpenArray> array;
    std::vector<std::pair<std::string, ULONG>> names;
    std::vector<XReadType> records;
    std::map<std::string, std::size_t> byName; ///< indexes in records

    const XReadType* Find(const std::string& name) const;
    /// Visits the base types of a type, nearest first. Visits each once, even if they form a cycle.
    template <class F> void EachBase(const XReadType& type, F&& visit) const {
        std::set<std::string> met{type.head.Key()};
        for (const XReadType* base = Find(type.head.Text(XProperty::BaseTypeName));
             base != nullptr && met.insert(base->head.Key()).second;
             base = Find(base->head.Text(XProperty::BaseTypeName))) {
            visit(*base);
        }
    }
};

/// The records or values of an array, with the array that they reference.
template <class T> struct XReadArray {
    std::shared_ptr<XOpenArray> array;
    T content{};
};

// These functions take ownership of the array. They return nullopt if it violates the format, and add a finding.
std::optional<XReadTypes> LXReadTypes(SAFEARRAY* array, XFindings& findings, const std::string& call);
std::optional<XReadArray<XReadComponents>> LXReadComponents(SAFEARRAY* array, const std::string& type,
                                                            XFindings& findings, const std::string& call);
std::optional<XReadArray<std::vector<XReadRecord>>> LXReadRelations(SAFEARRAY* array, XFindings& findings,
                                                                    const std::string& call);
/// The values of one object (GetProperties).
std::optional<XReadArray<std::span<const VARIANT>>> LXReadValues(SAFEARRAY* array, XFindings& findings,
                                                                 const std::string& call);

/// The name of a kind: "page", "group" and so on.
const char* LXKindName(XElementKind kind);
/// The index of the property that is the key of a kind.
int LXKeyOf(XElementKind kind);
/// Checks the values of an object: their number, their ownership, and the types of those that the cache reads.
void LXJudgeValues(XElementKind kind, std::span<const VARIANT> values, XFindings& findings, const std::string& where);

#endif

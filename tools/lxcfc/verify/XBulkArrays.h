// SPDX-License-Identifier: MIT
//
// A server's arrays, read element by element with a look at everything that the format says of them. What does not fit
// is a finding with the element's number and the names of the type and the attribute.
//
// Ownership  What is read refers to the array, which lives as long as the object that was read.
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

/// An object and its values.
struct XReadRecord {
    XElementKind kind = XElementKind::Type;
    std::string path; ///< whose it is, such as: type "Pump", attribute "Head"
    IUnknown* object = nullptr;
    std::span<const VARIANT> values;
    std::vector<XReadRecord> types; ///< of an attribute

    /// What it is found by: its name, or its number as a text.
    std::string Key() const;
    /// A value that may be a text; "" for any other.
    std::string Text(int index) const;
};

using XReadList = std::optional<std::vector<XReadRecord>>; ///< nothing: not delivered

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

/// An array whose elements can be reached.
class XOpenArray {
public:
    /// Takes the array over; raises XArrayRefusal.
    explicit XOpenArray(SAFEARRAY* array);
    ~XOpenArray();
    XOpenArray(const XOpenArray&) = delete;
    XOpenArray& operator=(const XOpenArray&) = delete;

    std::span<const VARIANT> Elements() const { return m_elements; }

private:
    XLXSafeArray m_array;
    std::span<const VARIANT> m_elements;
};

/// Why an array is refused.
struct XArrayRefusal {
    XRule rule;
    std::string what;
};

struct XReadTypes {
    std::shared_ptr<XOpenArray> array;
    std::vector<std::pair<std::string, ULONG>> names;
    std::vector<XReadType> records;
    std::map<std::string, std::size_t> byName; ///< places in records

    const XReadType* Find(const std::string& name) const;
    /// Visits the base types of a type, the nearest first; each once, also where they go round in a circle.
    template <class F> void EachBase(const XReadType& type, F&& visit) const {
        std::set<std::string> met{type.head.Key()};
        for (const XReadType* base = Find(type.head.Text(XProperty::BaseTypeName));
             base != nullptr && met.insert(base->head.Key()).second;
             base = Find(base->head.Text(XProperty::BaseTypeName))) {
            visit(*base);
        }
    }
};

/// A list of records or of values that an array carries.
template <class T> struct XReadArray {
    std::shared_ptr<XOpenArray> array;
    T content{};
};

// Each takes the array over. Nothing when the array does not fit the format, which is then a finding of the call.
std::optional<XReadTypes> LXReadTypes(SAFEARRAY* array, XFindings& findings, const std::string& call);
std::optional<XReadArray<XReadComponents>> LXReadComponents(SAFEARRAY* array, const std::string& type,
                                                            XFindings& findings, const std::string& call);
std::optional<XReadArray<std::vector<XReadRecord>>> LXReadRelations(SAFEARRAY* array, XFindings& findings,
                                                                    const std::string& call);
/// The values of one object (GetProperties).
std::optional<XReadArray<std::span<const VARIANT>>> LXReadValues(SAFEARRAY* array, XFindings& findings,
                                                                 const std::string& call);

/// "page", "group" and so on.
const char* LXKindName(XElementKind kind);
/// Which property an object of a kind is found by.
int LXKeyOf(XElementKind kind);
/// Judges the values of one object: their number, whom they belong to, and what the cache reads of them.
void LXJudgeValues(XElementKind kind, std::span<const VARIANT> values, XFindings& findings, const std::string& where);

#endif

// SPDX-License-Identifier: MIT
//
// Configuration objects as documents.
#ifndef XCFCOBJECTS_H
#define XCFCOBJECTS_H

#include "XDocumentPrinter.h"
#include "XPropertyNames.h"
#include "XToolCom.h"

#include <map>

/// A value as it stands in a document: null for an empty one, "(object)" for an object.
XJson LXJsonOf(const VARIANT& value);
XJson LXPropertyOf(ILXConfigObject& object, int member);

/// All values of an object, in index order. A server gives them in one call, a cache one by one.
/// @param known  how many an object of its kind has at least
std::vector<XJson> LXValuesOf(ILXConfigObject& object, int known);
/// The same by name; a property without a name is "p<index>".
XJson LXNamedValuesOf(XElementKind kind, ILXConfigObject& object);
/// Some of them, by name; those without a name are left out.
XJson LXSomeOf(XElementKind kind, ILXConfigObject& object, std::initializer_list<int> members);

/// The elements of an enumeration; none where the server does not offer it.
template <class Element, class Enumerator, class Call>
std::vector<XLXComPtr<Element>> LXOffered(const char* what, Call&& call) {
    return LXList<Element, Enumerator>(what, [&call](Enumerator** out) {
        const HRESULT result = call(out);
        return result == E_NOTIMPL ? S_FALSE : result;
    });
}

/// One row for each object of an enumeration.
template <class Element, class Enumerator, class Call>
XJson LXRows(const char* what, XElementKind kind, std::initializer_list<int> members, Call&& call) {
    XJson rows = XJson::array();
    for (const auto& element : LXList<Element, Enumerator>(what, call)) {
        rows.push_back(LXSomeOf(kind, *element, members));
    }
    return rows;
}

/// A type and what it derives from.
struct XTypeNode {
    std::string name;
    std::string label;
    std::string base; ///< "" for none
    bool listed = true;
    std::vector<std::string> derived; ///< those that derive from it directly, by name
};

/// All listed types and their bases, by name.
using XTypeNodes = std::map<std::string, XTypeNode>;
XTypeNodes LXTypeNodes(ILXConfigFactory& factory);
/// Types that are each other's bases, each circle in the order from type to base.
std::vector<std::vector<std::string>> LXCirclesOf(const XTypeNodes& types);
/// The names of a type's bases, nearest first.
std::vector<std::string> LXBasesOf(const XTypeNodes& types, const std::string& name);

/// The names of all types that derive from a type, as the cache knows them.
std::vector<std::string> LXDerivedOf(ILXConfigFactoryCache& cache, const std::string& name);

/// What GetDisplayAttributeEnum is asked for, by name.
const std::vector<std::pair<std::string, LONG>>& LXDisplays();
std::vector<XLXComPtr<ILXAttribute>> LXAttributesOf(ILXType& type, LONG display);

/// A format's values, and those of all formats that an attribute or a format spec has.
template <class Owner> std::vector<std::pair<int, XLXComPtr<ILXFormat>>> LXFormatsOf(Owner& owner) {
    constexpr int MostFormatTypes = 4; // there is no enumeration of them: 0 to 3 are asked for
    std::vector<std::pair<int, XLXComPtr<ILXFormat>>> formats;
    for (int formatType = 0; formatType < MostFormatTypes; ++formatType) {
        XLXComPtr<ILXFormat> format;
        const HRESULT result = owner.GetFormat(formatType, format.Put());
        if (result != S_FALSE && result != E_NOTIMPL) { // a server may have no formats at all
            LXExpect(result, "GetFormat");
            formats.emplace_back(formatType, std::move(format));
        }
    }
    return formats;
}

#endif

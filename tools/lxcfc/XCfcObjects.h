// SPDX-License-Identifier: MIT
//
// Configuration objects as documents.
#ifndef XCFCOBJECTS_H
#define XCFCOBJECTS_H

#include "XDocumentPrinter.h"
#include "XPropertyNames.h"
#include "XToolCom.h"

#include <map>

/// A value in a document: null for an empty one, "(object)" for an object.
XJson LXJsonOf(const VARIANT& value);
XJson LXPropertyOf(ILXConfigObject& object, int member);

/// All values of an object, in index order. A server returns them in one call, a cache one by one.
/// @param known  minimum number of values of an object of this kind
std::vector<XJson> LXValuesOf(ILXConfigObject& object, int known);
/// The same by name; a property without a name is named "p<index>".
XJson LXNamedValuesOf(XElementKind kind, ILXConfigObject& object);
/// The selected values by name, without those that have no name.
XJson LXSomeOf(XElementKind kind, ILXConfigObject& object, std::initializer_list<int> members);

/// The elements of an enumeration; none if the server does not implement it.
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

/// A type in the inheritance tree.
struct XTypeNode {
    std::string name;
    std::string label;
    std::string base; ///< "": none
    bool listed = true;
    std::vector<std::string> derived; ///< types that derive from it directly, by name
};

/// All listed types and their bases, by name.
using XTypeNodes = std::map<std::string, XTypeNode>;
XTypeNodes LXTypeNodes(ILXConfigFactory& factory);
/// The cycles of base types, each in the order from type to base.
std::vector<std::vector<std::string>> LXCirclesOf(const XTypeNodes& types);
/// The names of a type's bases, nearest first.
std::vector<std::string> LXBasesOf(const XTypeNodes& types, const std::string& name);

/// The names of all types that derive from a type, according to the cache.
std::vector<std::string> LXDerivedOf(ILXConfigFactoryCache& cache, const std::string& name);

/// The masks for GetDisplayAttributeEnum, with their names.
const std::vector<std::pair<std::string, LONG>>& LXDisplays();
std::vector<XLXComPtr<ILXAttribute>> LXAttributesOf(ILXType& type, LONG display);

/// The formats of an attribute or a format spec, by format type.
template <class Owner> std::vector<std::pair<int, XLXComPtr<ILXFormat>>> LXFormatsOf(Owner& owner) {
    constexpr int MostFormatTypes = 4; // formats cannot be enumerated; types 0 to 3 are requested
    std::vector<std::pair<int, XLXComPtr<ILXFormat>>> formats;
    for (int formatType = 0; formatType < MostFormatTypes; ++formatType) {
        XLXComPtr<ILXFormat> format;
        const HRESULT result = owner.GetFormat(formatType, format.Put());
        if (result != S_FALSE && result != E_NOTIMPL) { // a server may not implement formats
            LXExpect(result, "GetFormat");
            formats.emplace_back(formatType, std::move(format));
        }
    }
    return formats;
}

#endif

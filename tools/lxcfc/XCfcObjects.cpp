// SPDX-License-Identifier: MIT
#include "XCfcObjects.h"

#include "XLXSafeArray.h"
#include "XModelValue.h"

#include <objbase.h>

#include <algorithm>
#include <set>

XJson LXJsonOf(const VARIANT& value) {
    switch (V_VT(&value)) {
    case VT_EMPTY:
    case VT_NULL: return nullptr;
    case VT_I4: return V_I4(&value);
    case VT_BOOL: return V_BOOL(&value) != VARIANT_FALSE;
    case VT_R8: return V_R8(&value);
    case VT_BSTR: return LXToUtf8(LXBstrView(V_BSTR(&value)));
    case VT_UNKNOWN:
    case VT_DISPATCH: return "(object)";
    default: return LXToUtf8(XLXComVariant::CopyOf(value).AsText().value_or(OLESTR("(no text)")));
    }
}

XJson LXPropertyOf(ILXConfigObject& object, int member) {
    XLXComVariant value;
    const HRESULT result = object.GetProperty(member, value.Put());
    if (result == S_FALSE) { return nullptr; }
    LXExpect(result, "ILXConfigObject::GetProperty");
    return LXJsonOf(value.Get());
}

std::vector<XJson> LXValuesOf(ILXConfigObject& object, int known) {
    std::vector<XJson> values;
    XLXSafeArray array;
    const HRESULT result = object.GetProperties(array.Put());
    if (result == E_NOTIMPL) {
        for (int member = 0; member < known; ++member) {
            values.push_back(LXPropertyOf(object, member));
        }
        return values;
    }
    LXExpect(result, "ILXConfigObject::GetProperties");
    LONG last = -1;
    LXExpect(SafeArrayGetUBound(array.Get(), 1, &last), "SafeArrayGetUBound");
    for (LONG i = 0; i <= last; ++i) {
        XLXComVariant value;
        LXExpect(SafeArrayGetElement(array.Get(), &i, value.Put()), "SafeArrayGetElement");
        values.push_back(LXJsonOf(value.Get()));
    }
    return values;
}

XJson LXNamedValuesOf(XElementKind kind, ILXConfigObject& object) {
    XJson named = XJson::object();
    int index = 0;
    for (XJson& value : LXValuesOf(object, XPropertyTable::Of(kind).count)) {
        named[XPropertyNames::The().Key(kind, index++)] = std::move(value);
    }
    return named;
}

XJson LXSomeOf(XElementKind kind, ILXConfigObject& object, std::initializer_list<int> members) {
    XJson some = XJson::object();
    for (const int member : members) {
        if (XPropertyNames::The().Has(kind, member)) {
            some[XPropertyNames::The().Key(kind, member)] = LXPropertyOf(object, member);
        }
    }
    return some;
}

namespace {
XTypeNode NodeOf(ILXType& type) {
    return {LXTextOf(type, XProperty::TypeName),
            XPropertyNames::The().Has(XElementKind::Type, XProperty::TypeLabel) ? LXTextOf(type, XProperty::TypeLabel)
                                                                                : "",
            LXTextOf(type, XProperty::BaseTypeName),
            true,
            {}};
}

/// Adds a base that no enumeration lists.
void AddUnlisted(ILXConfigFactory& factory, XTypeNodes& nodes, const std::string& name) {
    XLXComPtr<ILXType> type;
    if (factory.GetType(LXBstr(name).Get(), nullptr, type.Put()) == S_OK) {
        XTypeNode node = NodeOf(*type);
        node.listed = false;
        nodes.emplace(name, std::move(node));
    }
}
} // namespace

XTypeNodes LXTypeNodes(ILXConfigFactory& factory) {
    XTypeNodes nodes;
    for (const auto& type : LXList<ILXType, ILXTypeEnum>("GetTypeEnum", [&](auto** out) {
             const HRESULT result = factory.GetTypeEnum(nullptr, out);
             return result == E_NOTIMPL ? S_FALSE : result; // as in client mode
         })) {
        XTypeNode node = NodeOf(*type);
        nodes.emplace(node.name, std::move(node));
    }
    std::vector<std::string> missing;
    do {
        missing.clear();
        for (const auto& [name, node] : nodes) {
            if (!node.base.empty() && !nodes.contains(node.base)) { missing.push_back(node.base); }
        }
        const std::size_t known = nodes.size();
        for (const std::string& base : missing) {
            AddUnlisted(factory, nodes, base);
        }
        if (nodes.size() == known) {
            break; // an unknown base
        }
    } while (!missing.empty());
    for (const auto& [name, node] : nodes) {
        if (const auto base = nodes.find(node.base); base != nodes.end()) { base->second.derived.push_back(name); }
    }
    return nodes;
}

std::vector<std::vector<std::string>> LXCirclesOf(const XTypeNodes& types) {
    std::vector<std::vector<std::string>> circles;
    std::set<std::string> seen;
    for (const auto& [name, node] : types) {
        std::vector<std::string> way;
        auto at = types.find(name);
        for (; at != types.end() && seen.insert(at->first).second; at = types.find(at->second.base)) {
            way.push_back(at->first);
        }
        const auto start = at != types.end() ? std::find(way.begin(), way.end(), at->first) : way.end();
        if (start != way.end()) { circles.emplace_back(start, way.end()); }
    }
    return circles;
}

std::vector<std::string> LXBasesOf(const XTypeNodes& types, const std::string& name) {
    std::vector<std::string> bases;
    for (auto at = types.find(name); at != types.end(); at = types.find(bases.back())) {
        const std::string& base = at->second.base;
        if (base.empty() || base == name || std::find(bases.begin(), bases.end(), base) != bases.end()) {
            break; // the end of the chain, or a cycle
        }
        bases.push_back(base);
    }
    return bases;
}

std::vector<std::string> LXDerivedOf(ILXConfigFactoryCache& cache, const std::string& name) {
    LONG count = 0;
    BSTR* names = nullptr;
    const HRESULT result = cache.GetAllDerivedTypes(LXBstr(name).Get(), &count, &names);
    std::vector<std::string> derived;
    for (LONG i = 0; i < count; ++i) {
        derived.push_back(LXToUtf8(LXBstrView(names[i])));
        SysFreeString(names[i]);
    }
    CoTaskMemFree(names);
    if (result != S_FALSE) { LXExpect(result, "GetAllDerivedTypes"); }
    return derived;
}

const std::vector<std::pair<std::string, LONG>>& LXDisplays() {
    static const std::vector<std::pair<std::string, LONG>> displays = {{"all", 0},
                                                                       {"editor", LXD_EDITOR},
                                                                       {"finder", LXD_FINDER},
                                                                       {"browser", LXD_BROWSER},
                                                                       {"printable", LXD_PRINTABLE},
                                                                       {"vendor", LXD_VENDORDEFINED},
                                                                       {"avset", LXD_INAVSET}};
    return displays;
}

std::vector<XLXComPtr<ILXAttribute>> LXAttributesOf(ILXType& type, LONG display) {
    return LXList<ILXAttribute, ILXAttributeEnum>(
        "GetDisplayAttributeEnum", [&](auto** out) { return type.GetDisplayAttributeEnum(display, out); });
}

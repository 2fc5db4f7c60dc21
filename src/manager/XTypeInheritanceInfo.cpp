// SPDX-License-Identifier: MIT
#include "XTypeInheritanceInfo.h"

#include <unordered_map>

bool XTypeInheritanceInfo::Info::IsKnown(XLXTextView typeName) const { return m_baseOf.contains(typeName); }

// The walk ends at a base that is not in the map. The links have no cycles, but they were read one by one while types
// may have been linked anew; so it is counted.
bool XTypeInheritanceInfo::Info::DerivesFrom(XLXTextView typeName, XLXTextView ancestor) const {
    XLXTextView type = typeName;
    bool isKnown = false;
    auto found = m_baseOf.find(type);
    for (std::size_t steps = 0; found != m_baseOf.end() && steps < m_baseOf.size(); ++steps) {
        if (type == ancestor) { return true; }
        isKnown = true;
        type = found->second.Text();
        found = m_baseOf.find(type);
    }
    return isKnown && !type.empty() && type == ancestor;
}

std::vector<XLXText> XTypeInheritanceInfo::Info::DerivedTypes(XLXTextView typeName) const {
    const XCFGStringKey root(typeName);
    XNameSet found;
    std::vector<XCFGStringKey> open{root};
    while (!open.empty()) {
        const auto derived = m_derived.find(open.back());
        open.pop_back();
        if (derived == m_derived.end()) { continue; }
        for (const XCFGStringKey& type : derived->second) {
            if (type != root && found.insert(type).second) { open.push_back(type); }
        }
    }
    std::vector<XLXText> names;
    for (const XCFGStringKey& type : found) {
        names.push_back(type.Text());
    }
    return names;
}

std::vector<XLXText> XTypeInheritanceInfo::Info::BaseTypes(XLXTextView typeName) const {
    std::vector<XLXText> names;
    XNameSet met{XCFGStringKey(typeName)};
    for (auto type = m_baseOf.find(typeName); type != m_baseOf.end(); type = m_baseOf.find(type->second)) {
        if (type->second.IsNull() || !met.insert(type->second).second) { break; }
        names.push_back(type->second.Text());
    }
    return names;
}

// A link that was refused because it would close a cycle is no base here either. A base that is named but not in the
// map is entered too.
XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Of(const std::vector<XTypeMap::Map::value_type>& types) {
    auto info = std::make_shared<Info>();
    std::unordered_map<const XLXTypeCache*, const XCFGStringKey*> nameOf;
    for (const auto& [name, entry] : types) {
        nameOf.emplace(entry.type.Get(), &name);
        info->m_baseOf.try_emplace(name);
    }
    for (const auto& [name, entry] : types) {
        XCFGStringKey& base = info->m_baseOf[name];
        if (const auto linked = nameOf.find(entry.type->BaseType().Get()); linked != nameOf.end()) {
            base = *linked->second;
        } else if (!info->m_baseOf.contains(XLXTextView(entry.baseName))) {
            base = XCFGStringKey(entry.baseName);
        }
        if (!base.IsNull() && base != name) { info->m_derived[base].insert(name); }
    }
    return info;
}

XTypeInheritanceInfo::XTypeInheritanceInfo(const XTypeMap& types) : m_types(types) { m_info.Begin({&types}); }

XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Current() {
    if (InfoPtr fresh = m_info.Fresh()) { return fresh; }
    return m_info.Load({&m_types}, [&] { return Of(m_types.Types()); });
}

void XTypeInheritanceInfo::Clear() { const InfoPtr former = m_info.Clear(); }

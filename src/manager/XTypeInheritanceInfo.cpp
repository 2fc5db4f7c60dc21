// SPDX-License-Identifier: MIT
#include "XTypeInheritanceInfo.h"

#include <unordered_map>

// A base whose link was refused, because it would close a cycle, is ignored here too. A base that is named but is not
// in the map counts as a base.
XTypeInheritanceInfo::Info::Info(const std::vector<XTypeMap::Map::value_type>& types) {
    std::unordered_map<const XLXTypeCache*, const XCFGStringKey*> nameOf;
    for (const auto& [name, entry] : types) {
        nameOf.emplace(entry.type.Get(), &name);
        m_baseOf.try_emplace(name);
    }
    for (const auto& [name, entry] : types) {
        XCFGStringKey& base = m_baseOf[name];
        if (const auto linked = nameOf.find(entry.type->BaseType().Get()); linked != nameOf.end()) {
            base = *linked->second;
        } else if (!m_baseOf.contains(XLXTextView(entry.baseName))) {
            base = XCFGStringKey(entry.baseName);
        }
        if (!base.IsNull() && base != name) { m_derived[base].insert(name); }
    }
}

XNameSet XTypeInheritanceInfo::Info::DerivedTypes(XLXTextView typeName) const {
    XNameSet found;
    std::vector<XLXTextView> open{typeName};
    while (!open.empty()) {
        const auto derived = m_derived.find(open.back());
        open.pop_back();
        if (derived == m_derived.end()) { continue; }
        for (const XCFGStringKey& type : derived->second) {
            if (type != typeName && found.insert(type).second) { open.push_back(type.Text()); }
        }
    }
    return found;
}

// The links have no cycles, but they are read one by one while types may be relinked. The count bounds the loop.
std::vector<XLXTextView> XTypeInheritanceInfo::Info::BaseTypes(XLXTextView typeName) const {
    std::vector<XLXTextView> names;
    auto type = m_baseOf.find(typeName);
    while (type != m_baseOf.end() && !type->second.IsNull() && names.size() < m_baseOf.size()) {
        names.push_back(type->second.Text());
        type = m_baseOf.find(type->second);
    }
    return names;
}

XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Current() {
    if (InfoPtr fresh = m_info.Fresh()) { return fresh; }
    return m_info.Load({&m_types}, [&](const XStamp&) { return std::make_shared<const Info>(m_types.Types()); });
}

// SPDX-License-Identifier: MIT
#include "XTypeInheritanceInfo.h"

#include <unordered_map>

bool XTypeInheritanceInfo::Info::IsKnown(XLXTextView typeName) const
{
    return m_baseOf.contains(typeName);
}

// The walk ends at a base that is not in the map. The links have no cycles, but they were read one by one while types
// may have been linked anew; so it is counted.
bool XTypeInheritanceInfo::Info::DerivesFrom(XLXTextView typeName, XLXTextView ancestor) const
{
    XLXTextView type = typeName;
    bool isKnown = false;
    auto found = m_baseOf.find(type);
    for (std::size_t steps = 0; found != m_baseOf.end() && steps < m_baseOf.size(); ++steps)
    {
        if (type == ancestor)
        {
            return true;
        }
        isKnown = true;
        type = found->second.Text();
        found = m_baseOf.find(type);
    }
    return isKnown && !type.empty() && type == ancestor;
}

std::vector<XLXText> XTypeInheritanceInfo::Info::DerivedTypes(XLXTextView typeName) const
{
    const XCFGStringKey root(typeName);
    XNameSet found;
    std::vector<XCFGStringKey> open{root};
    while (!open.empty())
    {
        const auto derived = m_derived.find(open.back());
        open.pop_back();
        if (derived == m_derived.end())
        {
            continue;
        }
        for (const XCFGStringKey& type : derived->second)
        {
            if (type != root && found.insert(type).second)
            {
                open.push_back(type);
            }
        }
    }
    std::vector<XLXText> names;
    for (const XCFGStringKey& type : found)
    {
        names.push_back(type.Text());
    }
    return names;
}

std::vector<XLXText> XTypeInheritanceInfo::Info::BaseTypes(XLXTextView typeName) const
{
    std::vector<XLXText> names;
    XNameSet met{XCFGStringKey(typeName)};
    for (auto type = m_baseOf.find(typeName); type != m_baseOf.end(); type = m_baseOf.find(type->second))
    {
        if (type->second.IsNull() || !met.insert(type->second).second)
        {
            break;
        }
        names.push_back(type->second.Text());
    }
    return names;
}

// A base that is named but not in the map is entered too.
void XTypeInheritanceInfo::Info::AddTypeToInheritanceInfo(const XCFGStringKey& type, const XCFGStringKey& base)
{
    if (!base.IsNull() && base != type)
    {
        m_derived[base].insert(type);
    }
}

// A link that was refused because it would close a cycle is no base here either.
void XTypeInheritanceInfo::LinkBases(const std::vector<XTypeMap::Entry>& types, Info& info)
{
    std::unordered_map<const XLXTypeCache*, const XTypeMap::Entry*> entryOf;
    for (const XTypeMap::Entry& entry : types)
    {
        entryOf.emplace(entry.type.Get(), &entry);
        info.m_baseOf.emplace(XCFGStringKey(entry.name), XCFGStringKey());
    }
    for (const XTypeMap::Entry& entry : types)
    {
        const auto linked = entryOf.find(entry.type->BaseType().Get());
        XCFGStringKey& base = info.m_baseOf[XCFGStringKey(entry.name)];
        if (linked != entryOf.end())
        {
            base = XCFGStringKey(linked->second->name);
        }
        else if (XCFGStringKey named(entry.baseName); !info.m_baseOf.contains(named))
        {
            base = std::move(named);
        }
    }
}

XTypeInheritanceInfo::XTypeInheritanceInfo(const XTypeMap& types) : m_types(types)
{
    m_info.Begin({&types});
}

XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Of(const std::vector<XTypeMap::Entry>& types)
{
    auto made = std::make_shared<Info>();
    LinkBases(types, *made);
    for (const auto& [type, base] : made->m_baseOf)
    {
        made->AddTypeToInheritanceInfo(type, base);
    }
    return made;
}

XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Current()
{
    if (InfoPtr fresh = m_info.Fresh())
    {
        return fresh;
    }
    return m_info.Load({&m_types}, [&] { return Of(m_types.Types()); });
}

void XTypeInheritanceInfo::Clear()
{
    const InfoPtr former = m_info.Clear();
}

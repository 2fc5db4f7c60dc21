// SPDX-License-Identifier: MIT
#include "XTypeInheritanceInfo.h"

#include <unordered_map>

bool XTypeInheritanceInfo::Info::IsKnown(XLXTextView typeName) const
{
    return m_baseOf.contains(XCFGStringKey(typeName));
}

bool XTypeInheritanceInfo::Info::DerivesFrom(XLXTextView typeName, XLXTextView ancestor) const
{
    return m_distances.contains({XCFGStringKey(ancestor), XCFGStringKey(typeName)});
}

std::vector<XLXText> XTypeInheritanceInfo::Info::DerivedTypes(XLXTextView typeName) const
{
    const XCFGStringKey root(typeName);
    std::set<XCFGStringKey> found;
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
    std::set<XCFGStringKey> met{XCFGStringKey(typeName)};
    for (auto type = m_baseOf.find(XCFGStringKey(typeName)); type != m_baseOf.end();
         type = m_baseOf.find(type->second))
    {
        if (type->second.IsNull() || !met.insert(type->second).second)
        {
            break;
        }
        names.push_back(type->second.Text());
    }
    return names;
}

// A base that is named but not in the map is entered too; the walk ends there. The links have no cycles, but
// they were read one by one while types may have been linked anew.
void XTypeInheritanceInfo::Info::AddTypeToInheritanceInfo(const XCFGStringKey& type)
{
    m_distances[{type, type}] = 0;
    std::set<XCFGStringKey> met{type};
    LONG distance = 0;
    for (auto next = m_baseOf.find(type); next != m_baseOf.end(); next = m_baseOf.find(next->second))
    {
        const XCFGStringKey& base = next->second;
        if (base.IsNull() || !met.insert(base).second)
        {
            break;
        }
        if (distance == 0)
        {
            m_derived[base].insert(type);
        }
        m_distances[{base, type}] = ++distance;
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

XTypeInheritanceInfo::InfoPtr XTypeInheritanceInfo::Current()
{
    const std::uint64_t version = m_types.Version();
    {
        const XCritReadProxy<InfoPtr> held(m_info);
        if (*held != nullptr && (*held)->m_version == version)
        {
            return *held;
        }
    }
    auto made = std::make_shared<Info>();
    made->m_version = version; // read before the types: what changes meanwhile makes it stale
    LinkBases(m_types.Types(), *made);
    for (const auto& [type, base] : made->m_baseOf)
    {
        made->AddTypeToInheritanceInfo(type);
    }
    InfoPtr info = made;
    {
        const XCritProxy<InfoPtr> held(m_info);
        held->swap(info); // the old one goes when the lock is given back
    }
    return made;
}

void XTypeInheritanceInfo::Clear()
{
    m_info.Set(nullptr);
}

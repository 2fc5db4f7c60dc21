// SPDX-License-Identifier: MIT
#include "XTypeMap.h"

XTypeMap::Found XTypeMap::Find(XLXTextView name, XLXComPtr<XLXTypeCache>& type) const
{
    const XCritLFReadProxy<Known> types(m_mapType);
    XLXTypeCache* const* const found = types->index.Find({name});
    if (found == nullptr)
    {
        return Found::Nothing;
    }
    type = *found;
    return type ? Found::Type : Found::NoType;
}

/// A type that is about to enter the map, with an object made for it beforehand.
struct XTypeMap::Change
{
    XCFGStringKey key;
    XTypeLoad load;
    XLXComPtr<XLXTypeCache> made;
};

XLXComPtr<XLXTypeCache> XTypeMap::MakeType() const
{
    const auto type = LXCFCTOOLS::Make<XLXTypeCache>(nullptr, LXManagerAt("AddToTypeCache"));
    type->SetModeSupplier(m_mode);
    return type;
}

void XTypeMap::Enter(std::vector<XTypeLoad> loads, std::uint64_t noted, std::optional<std::uint64_t> filled)
{
    std::vector<Change> changes;
    changes.reserve(loads.size());
    for (XTypeLoad& load : loads)
    {
        if (load.name.empty())
        {
            XLXError::Raise(E_INVALIDARG, OLESTR("typename for CFC type cache entry must not be empty"),
                            LXManagerAt("AddToTypeCache"));
        }
        XLXComPtr<XLXTypeCache> known;
        XLXComPtr<XLXTypeCache> made;
        if (Find(load.name, known) != Found::Type)
        {
            made = MakeType();
        }
        XCFGStringKey key(load.name);
        changes.push_back({std::move(key), std::move(load), std::move(made)});
    }
    XRetired retired; // these two die after the lock is given back
    std::vector<XLXText> messages;
    {
        const XCritProxy<Known> types(m_mapType);
        // A notification that comes to the manager from here on waits for this lock before it walks the
        // types, and so sees all of them.
        Apply(*types, changes, noted, retired);
        LinkBases(types->map, retired, messages);
        m_version.fetch_add(1);
        if (filled)
        {
            m_lTypeMapFilled.SetFilled(*filled);
        }
    }
    for (const XLXText& message : messages)
    {
        XLXError::WriteErrorToLogBook(E_FAIL, XLXError::SeverityError, message,
                                      LXManagerAt("CreateTypeCache"));
    }
}

void XTypeMap::Apply(Known& known, std::vector<Change>& changes, std::uint64_t noted, XRetired& retired)
{
    for (Change& change : changes)
    {
        Entry& entry = known.map[change.key];
        if (!entry.type)
        {
            entry.type = change.made ? std::move(change.made) : MakeType();
        }
        // Noted before the epoch is looked at: what comes straight to the type afterwards makes the notes
        // old.
        const XLXTypeCache::Notes notes = entry.type->TakeNotes();
        const bool fresh = m_epoch.Note() == noted;
        XTypeLoad& load = change.load;
        known.index.Set({load.name}, entry.type.Get());
        entry.name = std::move(load.name);
        entry.baseName = std::move(load.baseName);
        entry.type->SetFlags(load.listed, load.searchable);
        entry.type->MarkLoaded();
        entry.type->SetTypeProperties(std::move(load.server), std::move(load.values),
                                      fresh ? &notes : nullptr, retired);
        if (fresh && load.mode != 0)
        {
            entry.type->DeliverComponents(std::move(load.components), load.mode, notes, retired);
        }
    }
}

// From the top of each chain downwards: what stands above a type's new base has its new bases by then, so
// that a link which is yet to be replaced cannot seem to close a circle. Errors in single links do not stop
// the others.
void XTypeMap::LinkBases(Map& map, XRetired& retired, std::vector<XLXText>& messages)
{
    for (auto& [key, entry] : map)
    {
        entry.link = Link::Pending;
    }
    std::vector<std::pair<Entry*, Entry*>> path; // types with their bases, upwards
    for (auto& [key, entry] : map)
    {
        Entry* above = &entry;
        while (above != nullptr && above->type && above->link == Link::Pending)
        {
            above->link = Link::OnPath;
            path.emplace_back(above, BaseOf(map, *above, messages));
            above = path.back().second;
        }
        // The type at the end of a path that comes back to itself does without its base.
        bool closesCircle = above != nullptr && above->link == Link::OnPath;
        for (; !path.empty(); path.pop_back())
        {
            const auto [type, base] = path.back();
            XLXTypeCache* const wanted = base != nullptr && !closesCircle ? base->type.Get() : nullptr;
            if (!type->type->LinkBase(wanted, retired) || closesCircle)
            {
                (void)type->type->LinkBase(nullptr, retired);
                messages.push_back(XLXFormat() << "This type has itself as base type " << type->name);
            }
            type->link = Link::Done;
            closesCircle = false;
        }
    }
}

/// The entry of a type's base; null when it has none, or none that is known.
XTypeMap::Entry* XTypeMap::BaseOf(Map& map, const Entry& entry, std::vector<XLXText>& messages)
{
    if (entry.baseName.empty())
    {
        return nullptr;
    }
    const auto found = map.find(XCFGStringKey(entry.baseName));
    if (found != map.end() && found->second.type)
    {
        return &found->second;
    }
    messages.push_back(XLXFormat() << "base type referenced by name not found in type cache: "
                                   << entry.baseName);
    return nullptr;
}

void XTypeMap::EnterNegative(XLXTextView name, std::uint64_t noted)
{
    XCFGStringKey key(name);
    Entry entry;
    entry.name = name;
    const XCritProxy<Known> types(m_mapType);
    if (m_epoch.Note() == noted)
    {
        const auto entered = types->map.try_emplace(std::move(key), std::move(entry)).first;
        types->index.Set({name}, entered->second.type.Get());
    }
}

std::vector<XTypeMap::Entry> XTypeMap::Types() const
{
    std::vector<Entry> all;
    const XCritReadProxy<Known> types(m_mapType);
    for (const auto& [key, entry] : types->map)
    {
        if (entry.type)
        {
            all.push_back(entry);
        }
    }
    return all;
}

// The receivers only clear flags and raise generations, so they may be called under the lock.
HRESULT XTypeMap::Notify(const XChangeNotification& notification) const
{
    const XCritReadProxy<Known> types(m_mapType);
    for (const auto& [key, entry] : types->map)
    {
        const HRESULT result = entry.type ? entry.type->Notify(notification) : S_OK;
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

void XTypeMap::TerminateAndClear()
{
    Map dropped;
    XNameIndex<XLXTypeCache*> index;
    m_lTypeMapFilled.Invalidate();
    {
        const XCritProxy<Known> types(m_mapType);
        types->map.swap(dropped);
        types->index.Swap(index);
        m_version.fetch_add(1);
    }
    for (auto& [key, entry] : dropped)
    {
        if (entry.type)
        {
            entry.type->Terminate();
        }
    }
}

// SPDX-License-Identifier: MIT
#include "XMapInheritedComp.h"

#include "lxtypecache.h"

namespace XLXTypeCacheComp
{
namespace
{
/// Names the content of a map, in the whole process.
std::atomic<std::uint64_t> g_lastContent{0};

template <class Component>
void InvalidateComponent(Component& component) noexcept
{
    component.Object()->InvalidateStore();
    if constexpr (std::is_same_v<Component, XRCComplexAttribute>)
    {
        component.Object()->InvalidateAttributeTypes();
    }
}
} // namespace

XMapInheritedComp<XPageMap>& XInheritedCacheFillUpTraits<XPageMap>::Of(XLXTypeCache& type)
{
    return type.Pages();
}
XMapInheritedComp<XGroupMap>& XInheritedCacheFillUpTraits<XGroupMap>::Of(XLXTypeCache& type)
{
    return type.Groups();
}
XMapInheritedComp<XAttributeMap>& XInheritedCacheFillUpTraits<XAttributeMap>::Of(XLXTypeCache& type)
{
    return type.Attributes();
}
XMapInheritedComp<XEditorMap>& XInheritedCacheFillUpTraits<XEditorMap>::Of(XLXTypeCache& type)
{
    return type.Editors();
}

template <class Map>
XLXSafeArray XMapInheritedComp<Map>::Deliver(XLXSafeArray array, LONG mode, const Note& note)
{
    const bool hasArray = static_cast<bool>(array);
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        if (!hasArray && m_deliveredAt.load() == m_counts.generation.load())
        {
            return {};
        }
        if ((mode & Traits::ModeBit) != 0)
        {
            m_deliveredAt.store(note.generation);
        }
        if (hasArray)
        {
            m_pending.array.Swap(array);
            m_pending.note = note;
            m_completedAt.store(0);
        }
    }
    if (hasArray)
    {
        g_componentEpoch.fetch_add(1);
    }
    return array;
}

template <class Map>
bool XMapInheritedComp<Map>::HasData() const noexcept
{
    const std::uint64_t generation = m_counts.generation.load();
    return m_deliveredAt.load() == generation || m_completedAt.load() == generation;
}

template <class Map>
typename XMapInheritedComp<Map>::Bases XMapInheritedComp<Map>::BasesNearestFirst() const
{
    Bases bases;
    for (auto base = m_inherits ? m_owner.BaseType() : nullptr; base; base = base->BaseType())
    {
        bases.push_back(base);
    }
    return bases;
}

/// Whether the map is complete with what that map of the base type holds (null: without a base).
template <class Map>
bool XMapInheritedComp<Map>::IsCurrent(const XMapInheritedComp* base) const noexcept
{
    const std::uint64_t merged = m_baseContent.load();
    return m_completedAt.load() == m_counts.generation.load() &&
           merged == (base != nullptr ? base->m_content.load() : 0);
}

// From the top of the chain downwards, so that a base is found current before what was merged from it is
// compared.
template <class Map>
bool XMapInheritedComp<Map>::IsComplete() const
{
    const std::uint64_t epoch = g_componentEpoch.load();
    if (m_checkedAt.load() == epoch)
    {
        return true; // nothing changed anywhere since it was last found complete
    }
    if (m_completedAt.load() != m_counts.generation.load())
    {
        return false;
    }
    const Bases bases = BasesNearestFirst();
    const XMapInheritedComp* above = nullptr;
    for (auto base = bases.rbegin(); base != bases.rend(); ++base)
    {
        const XMapInheritedComp& map = Traits::Of(**base);
        if (!map.IsCurrent(above))
        {
            return false;
        }
        map.m_checkedAt.store(epoch);
        above = &map;
    }
    if (!IsCurrent(above))
    {
        return false;
    }
    m_checkedAt.store(epoch);
    return true;
}

// One base after the other, not one inside the other: a chain of any length needs no more of the stack, and
// no thread waits for a type's fetch mutex while it holds another one. What a notification overtakes on the
// way is merged as it is.
template <class Map>
HRESULT XMapInheritedComp<Map>::EnsureComplete()
{
    if (IsComplete())
    {
        return S_OK;
    }
    const Bases bases = BasesNearestFirst();
    const XMapInheritedComp* above = nullptr;
    for (auto base = bases.rbegin(); base != bases.rend(); ++base)
    {
        XMapInheritedComp& map = Traits::Of(**base);
        map.EnsureCurrent(above);
        above = &map;
    }
    return EnsureCurrent(above);
}

template <class Map>
HRESULT XMapInheritedComp<Map>::EnsureCurrent(const XMapInheritedComp* base)
{
    if (IsCurrent(base))
    {
        return S_OK;
    }
    const XFillGuard fill(m_owner.FetchMutex());
    if (fill.Reentered() || IsCurrent(base))
    {
        return S_OK; // a server that asks back while it is being asked gets what is there
    }
    try
    {
        return Complete(base);
    }
    catch (...)
    {
        ForgetDelivered();
        throw;
    }
}

template <class Map>
HRESULT XMapInheritedComp<Map>::Complete(const XMapInheritedComp* base)
{
    const std::uint64_t generation = m_counts.generation.load();
    Map fresh = MergeFrom(base);
    Pending pending = TakeFreshPending();
    const bool parsed = static_cast<bool>(pending.array);
    if (parsed)
    {
        Traits::Fill(m_owner, std::move(pending.array), Snapshot(), fresh);
        fresh.Settle();
    }
    const bool empty = fresh.empty();
    Publish(std::move(fresh), pending.note, generation, parsed);
    return parsed || !empty ? S_OK : S_FALSE;
}

// The base type's definition of a component wins over that of a derived type, so its entries go in first.
template <class Map>
Map XMapInheritedComp<Map>::MergeFrom(const XMapInheritedComp* base)
{
    if (base == nullptr)
    {
        m_baseContent.store(0);
        return {};
    }
    return base->Read([&](const Map& map) {
        m_baseContent.store(base->m_content.load());
        return map;
    });
}

/// Whether no values changed since the note, neither by the type's notifications nor by those that go
/// straight to a component.
template <class Map>
bool XMapInheritedComp<Map>::AreValuesCurrent(const Note& note) const noexcept
{
    return note.values == m_counts.values.load() && note.direct == XNotificationEpoch::NoteDirect();
}

// Records that a notification made stale while they waited are fetched again. Records that it makes stale
// while they are being fetched are taken all the same, since somebody waits for them; Publish sees that they
// are not kept.
template <class Map>
typename XMapInheritedComp<Map>::Pending XMapInheritedComp<Map>::TakeFreshPending()
{
    Pending pending = TakePending();
    const std::uint64_t generation = m_counts.generation.load();
    if (pending.array && pending.note.generation == generation && AreValuesCurrent(pending.note))
    {
        return pending;
    }
    if (pending.array)
    {
        ForgetDelivered();
    }
    else if (m_deliveredAt.load() == generation)
    {
        return pending; // the server has none
    }
    m_completedAt.store(0); // also where only the base changed: what the type has of its own is wanted again
    m_owner.FetchTypeCacheComponents(Traits::ModeBit);
    return TakePending();
}

template <class Map>
typename XMapInheritedComp<Map>::Pending XMapInheritedComp<Map>::TakePending()
{
    const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
    return std::exchange(m_pending, Pending{});
}

template <class Map>
void XMapInheritedComp<Map>::Publish(Map&& fresh, const Note& note, std::uint64_t completedAt, bool parsed)
{
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        // Before the values are looked at: a notification raises them, and then looks for the bit. One of the
        // two sees the other, so either it comes to the components, or they are found stale here.
        if (!fresh.empty())
        {
            m_held.fetch_or(Traits::ModeBit);
        }
        if (parsed && !AreValuesCurrent(note))
        {
            for (const auto& [key, component] : fresh)
            {
                if (component->IsOwn(m_owner.Self()))
                {
                    InvalidateComponent(*component);
                }
            }
        }
        m_map.swap(fresh); // the old components go with the parameter's owner, after the lock
        m_content.store(g_lastContent.fetch_add(1) + 1);
        // Records delivered meanwhile must not stay unseen.
        m_completedAt.store(m_pending.array ? 0 : completedAt);
        if (parsed && !m_pending.array)
        {
            m_deliveredAt.store(0);
        }
    }
    g_componentEpoch.fetch_add(1);
}

template <class Map>
void XMapInheritedComp<Map>::ForgetDelivered()
{
    Pending dropped;
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        std::swap(dropped, m_pending);
        m_completedAt.store(0);
        m_deliveredAt.store(0);
    }
    g_componentEpoch.fetch_add(1);
}

template <class Map>
void XMapInheritedComp<Map>::Terminate()
{
    Map dropped;
    Pending pending;
    m_counts.Reset();
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        m_map.swap(dropped);
        std::swap(m_pending, pending);
    }
    for (const auto& [key, component] : dropped)
    {
        if (component->IsOwn(m_owner.Self()))
        {
            component->Object()->Terminate();
        }
    }
}

template class XMapInheritedComp<XPageMap>;
template class XMapInheritedComp<XGroupMap>;
template class XMapInheritedComp<XAttributeMap>;
template class XMapInheritedComp<XEditorMap>;
} // namespace XLXTypeCacheComp

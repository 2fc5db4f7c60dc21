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
        if (!hasArray && m_deliveredAt.load() == m_generation.load())
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
    const std::uint64_t generation = m_generation.load();
    return m_deliveredAt.load() == generation || m_completedAt.load() == generation;
}

template <class Map>
bool XMapInheritedComp<Map>::IsComplete() const noexcept
{
    const std::uint64_t epoch = g_componentEpoch.load();
    if (m_checkedAt.load() == epoch)
    {
        return true; // nothing changed anywhere since it was last found complete
    }
    if (m_completedAt.load() != m_generation.load())
    {
        return false;
    }
    if (m_inherits)
    {
        const XLXComPtr<XLXTypeCache> base = m_owner.BaseType();
        const std::uint64_t merged = m_baseContent.load();
        if (base ? !Traits::Of(*base).IsComplete() || Traits::Of(*base).m_content.load() != merged
                 : merged != 0)
        {
            return false;
        }
    }
    m_checkedAt.store(epoch);
    return true;
}

template <class Map>
HRESULT XMapInheritedComp<Map>::EnsureComplete()
{
    if (IsComplete())
    {
        return S_OK;
    }
    const XFillGuard fill(m_owner.FetchMutex());
    if (fill.Reentered() || IsComplete())
    {
        return S_OK; // a server that asks back while it is being asked gets what is there
    }
    try
    {
        return Complete();
    }
    catch (...)
    {
        ForgetDelivered();
        throw;
    }
}

template <class Map>
HRESULT XMapInheritedComp<Map>::Complete()
{
    const std::uint64_t generation = m_generation.load();
    Map fresh = MergeFromBase();
    Pending pending = TakeFreshPending();
    const bool parsed = static_cast<bool>(pending.array);
    if (parsed)
    {
        Traits::Fill(m_owner, std::move(pending.array), Snapshot(), fresh);
    }
    const bool empty = fresh.empty();
    Publish(std::move(fresh), pending.note, generation, parsed);
    return parsed || !empty ? S_OK : S_FALSE;
}

// The base type's definition of a component wins over that of a derived type, so its entries go in first.
template <class Map>
Map XMapInheritedComp<Map>::MergeFromBase()
{
    const XLXComPtr<XLXTypeCache> base = m_inherits ? m_owner.BaseType() : nullptr;
    if (!base)
    {
        m_baseContent.store(0);
        return {};
    }
    XMapInheritedComp& baseMap = Traits::Of(*base);
    baseMap.EnsureComplete();
    return baseMap.Read([&](const Map& map) {
        m_baseContent.store(baseMap.m_content.load());
        return map;
    });
}

// Records that a notification made stale while they waited are fetched again. Records that it makes stale
// while they are being fetched are taken all the same, since somebody waits for them; Publish sees that they
// are not kept.
template <class Map>
typename XMapInheritedComp<Map>::Pending XMapInheritedComp<Map>::TakeFreshPending()
{
    Pending pending = TakePending();
    const std::uint64_t generation = m_generation.load();
    if (pending.array && pending.note.generation == generation && pending.note.values == m_values.load())
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
        if (parsed && m_values.load() != note.values)
        {
            for (auto& [key, component] : fresh)
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
    Reset();
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        m_map.swap(dropped);
        std::swap(m_pending, pending);
    }
    for (auto& [key, component] : dropped)
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

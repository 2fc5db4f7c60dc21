// SPDX-License-Identifier: MIT
#include "XMapInheritedComp.h"

#include "lxtypecache.h"

namespace XLXTypeCacheComp
{
namespace
{
/// Names the content of a map, in the whole process.
std::atomic<std::uint64_t> g_lastContent{0};
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

// A map for which records wait is not current, so that nothing waits unseen.
template <class Map>
void XMapInheritedComp<Map>::Deliver(XDeliveredRecords records, const XStamp& stamp, XRetired& retired)
{
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        if (!stamp.IsNone() && !stamp.IsOlderThan(m_state.delivered.stamp) && !stamp.IsOlderThan(m_state.stamp))
        {
            std::swap(m_state.delivered.records, records);
            m_state.delivered.stamp = stamp;
        }
    }
    g_componentEpoch.fetch_add(1);
    retired.Take(std::move(records.array));
}

template <class Map>
bool XMapInheritedComp<Map>::HasData() const
{
    const XStamp now = Note();
    const XSmartReadCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
    return m_state.delivered.stamp == now || m_state.stamp == now;
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

template <class Map>
std::uint64_t XMapInheritedComp<Map>::Content() const
{
    const XSmartReadCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
    return m_state.content;
}

/// Whether the map is fresh, with what a base of that content holds (0: without a base).
/// @param content  receives the content of the map
template <class Map>
bool XMapInheritedComp<Map>::IsCurrent(std::uint64_t baseContent, std::uint64_t& content) const
{
    const XStamp now = Note();
    const XSmartReadCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
    content = m_state.content;
    return m_state.stamp == now && m_state.delivered.stamp.IsNone() && m_state.baseContent == baseContent;
}

// From the top of the chain downwards, so that a base is found current before what was merged from it is compared.
// What was found is remembered for as long as nothing changes, in a chain whose types share a clock.
template <class Map>
bool XMapInheritedComp<Map>::IsComplete() const
{
    const std::uint64_t check = Check(); // before the maps are looked at
    if (m_checkedAt.load() == check)
    {
        return true;
    }
    const Bases bases = BasesNearestFirst();
    bool sharesClock = true;
    std::uint64_t content = 0;
    for (auto base = bases.rbegin(); base != bases.rend(); ++base)
    {
        const XMapInheritedComp& map = Traits::Of(**base);
        if (!map.IsCurrent(content, content))
        {
            return false;
        }
        sharesClock = sharesClock && map.m_owner.ClockOfType() == m_owner.ClockOfType();
        if (sharesClock)
        {
            map.m_checkedAt.store(check);
        }
    }
    if (!IsCurrent(content, content))
    {
        return false;
    }
    if (sharesClock)
    {
        m_checkedAt.store(check);
    }
    return true;
}

// One base after the other, not one inside the other: a chain of any length needs no more of the stack, and no thread
// waits for a type's fetch mutex while it holds another one. What a notification overtakes on the way is merged as it
// is, and found stale by the next query. A chain that is linked anew meanwhile is gone through again.
template <class Map>
HRESULT XMapInheritedComp<Map>::EnsureComplete()
{
    for (int attempt = 0; !IsComplete() && attempt < MostAttempts; ++attempt)
    {
        const Bases bases = BasesNearestFirst();
        const XMapInheritedComp* above = nullptr;
        std::optional<HRESULT> result = S_OK;
        for (auto base = bases.rbegin(); base != bases.rend() && result; ++base)
        {
            XMapInheritedComp& map = Traits::Of(**base);
            result = map.EnsureCurrent(above);
            above = &map;
        }
        result = result ? EnsureCurrent(above) : result;
        if (result)
        {
            return *result;
        }
    }
    return S_OK;
}

/// Nothing: the type has another base meanwhile.
template <class Map>
std::optional<HRESULT> XMapInheritedComp<Map>::EnsureCurrent(const XMapInheritedComp* base)
{
    const auto isCurrent = [&] {
        std::uint64_t content = 0;
        return IsCurrent(base != nullptr ? base->Content() : 0, content);
    };
    if (isCurrent())
    {
        return S_OK;
    }
    const XFill fill(m_owner.FetchMutex(), this);
    if (fill.IsReentered() || isCurrent())
    {
        return S_OK; // a server that asks back while it is being asked gets what is there
    }
    return Complete(base);
}

// The base type's definition of a component wins over that of a derived type, so its entries go in first.
template <class Map>
std::optional<HRESULT> XMapInheritedComp<Map>::Complete(const XMapInheritedComp* base)
{
    XRetired retired; // goes last
    std::uint64_t baseContent = 0;
    Map fresh;
    if (base != nullptr)
    {
        const XSmartReadCritSection<Lock> lock(&base->m_lock, XLockSwitch::IsOn());
        fresh = base->m_state.map;
        baseContent = base->m_state.content;
    }
    XStampedRecords from = TakeRecords();
    const bool isDelivered = static_cast<bool>(from.records.array);
    if (isDelivered)
    {
        (m_owner.*Traits::Fill)({std::move(from.records.array), from.records.moment}, Snapshot(), fresh, retired);
        fresh.Settle();
    }
    // With the fetch mutex held: whoever completes the map with a newer base comes later.
    const auto linked = m_inherits ? m_owner.BaseType() : nullptr;
    if ((linked ? &Traits::Of(*linked) : nullptr) != base)
    {
        return std::nullopt;
    }
    const bool isEmpty = fresh.empty();
    Publish(std::move(fresh), base, baseContent, from);
    return isDelivered || !isEmpty ? S_OK : S_FALSE;
}

/// Whether the values of records that were delivered are still what the server has.
template <class Map>
bool XMapInheritedComp<Map>::AreValuesFresh(const XMoment& moment) const noexcept
{
    bool fresh = !m_owner.DirectOfType().IsNewerThan(moment);
    Traits::Values.ForEach(
        [&](XAspect aspect) { fresh = fresh && moment.At(aspect) == m_owner.ClockOfType()->Now(aspect); });
    return fresh;
}

// Records that a notification made stale while they waited are fetched again: one call instead of one for each
// component. Records that it makes stale while they are being fetched are taken all the same, since somebody waits
// for them; their stamps say what is stale.
template <class Map>
XStampedRecords XMapInheritedComp<Map>::TakeRecords()
{
    XStampedRecords waiting = TakeDelivered();
    if (waiting.stamp == Note() && (!waiting.records.array || AreValuesFresh(*waiting.records.moment)))
    {
        return waiting;
    }
    return m_owner.FetchTypeCacheComponents(Traits::ModeBit);
}

// What is taken is no longer there for anybody else: a thread that could not wait asks the server itself.
template <class Map>
XStampedRecords XMapInheritedComp<Map>::TakeDelivered()
{
    const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
    return std::exchange(m_state.delivered, XStampedRecords{});
}

template <class Map>
void XMapInheritedComp<Map>::Publish(Map fresh, const void* base, std::uint64_t baseContent,
                                     const XStampedRecords& from)
{
    Map former; // goes after the lock
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        const bool isBaseOlder = m_state.base == base && baseContent < m_state.baseContent;
        if (isBaseOlder || from.stamp.IsOlderThan(m_state.stamp))
        {
            return; // a thread that could not wait was later
        }
        AttachAll(fresh, *from.records.moment);
        DetachReplaced(fresh, *from.records.moment);
        former.swap(m_state.map);
        m_state.map.swap(fresh);
        m_state.content = g_lastContent.fetch_add(1) + 1;
        m_state.base = base;
        m_state.baseContent = baseContent;
        m_state.stamp = from.stamp;
    }
    g_componentEpoch.fetch_add(1);
}

/// The type passes a notification that comes straight to it on to the components in the map. Those that enter it
/// after one that came while they were on their way would miss it.
template <class Map>
void XMapInheritedComp<Map>::AttachAll(const Map& fresh, const XMoment& moment) const
{
    for (const auto& [key, component] : fresh)
    {
        if (component->IsOwn(m_owner.Self()))
        {
            component->Object()->Attach();
            component->Object()->TakeOwnersNumber(m_owner.DirectOfType(), moment);
        }
    }
}

/// Detaches the type's own components that leave the map. One that takes the place of a component which was notified
/// itself while the records were on their way would miss that; the former one is detached before it is looked at, so
/// that it was notified either before, or advances the clock.
template <class Map>
void XMapInheritedComp<Map>::DetachReplaced(const Map& fresh, const XMoment& moment) const
{
    for (const auto& [key, component] : m_state.map)
    {
        const auto found = fresh.find(key);
        const bool isThere = found != fresh.end() && found->second.Get() == component.Get();
        if (isThere || !component->IsOwn(m_owner.Self()))
        {
            continue;
        }
        component->Object()->Detach();
        if (found != fresh.end() && component->Object()->WasNotifiedSince(moment))
        {
            found->second->Object()->AdvanceAll();
        }
    }
}

// The receivers only advance counts, so they may be called under the lock.
template <class Map>
void XMapInheritedComp<Map>::NotifyDirectly(const XDirectNotification& notification, XAspectSet& touched) const
{
    Read([&](const Map& components) {
        for (const auto& [key, component] : components)
        {
            if (component->IsOwn(m_owner.Self()))
            {
                component->Object()->NotifyDirectly(notification, touched);
            }
        }
    });
}

template <class Map>
void XMapInheritedComp<Map>::Terminate()
{
    Map dropped;
    XStampedRecords delivered;
    m_own.Advance();
    {
        const XSmartCritSection<Lock> lock(&m_lock, XLockSwitch::IsOn());
        m_state.map.swap(dropped);
        m_state.content = g_lastContent.fetch_add(1) + 1;
        m_state.stamp = {};
        std::swap(m_state.delivered, delivered);
    }
    g_componentEpoch.fetch_add(1);
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
